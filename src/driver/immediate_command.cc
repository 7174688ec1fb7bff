#include "driver/immediate_command.h"

#include <utility>

#include "driver/automation_values.h"
#include "frame/class_table.h"
#include "support/synchronizer.h"

namespace vantrel {

ByteVector ImmediateCommand::Bytes() {
  OLock lock(critical_section());
  return data_.bytes;
}

void ImmediateCommand::SetBytes(ByteVector bytes) {
  OLock lock(critical_section());
  data_.bytes = std::move(bytes);
}

STDMETHODIMP ImmediateCommand::get_Binary(VARIANT* retBinary) {
  return Member("ImmediateCommand::get_Binary", [&] {
    if (retBinary == nullptr) frame::Throw(frame::kInvalidArgument);
    VariantInit(retBinary);
    BytesToVariant(Bytes(), retBinary);
  });
}

STDMETHODIMP ImmediateCommand::put_Binary(VARIANT argBinary) {
  return Member("ImmediateCommand::put_Binary", [&] { SetBytes(VariantToBytes(argBinary)); });
}

STDMETHODIMP ImmediateCommand::get_Text(BSTR* retText) {
  return Member("ImmediateCommand::get_Text", [&] {
    ClearOutput<BSTR>(retText, nullptr);
    *retText = BytesToTextBstr(Bytes());
  });
}

STDMETHODIMP ImmediateCommand::put_Text(BSTR argText) {
  return Member("ImmediateCommand::put_Text", [&] { SetBytes(TextBstrToBytes(argText)); });
}

STDMETHODIMP ImmediateCommand::get_Hexadecimal(BSTR* retHexadecimal) {
  return Member("ImmediateCommand::get_Hexadecimal", [&] {
    ClearOutput<BSTR>(retHexadecimal, nullptr);
    *retHexadecimal = BytesToHexadecimalBstr(Bytes());
  });
}

STDMETHODIMP ImmediateCommand::put_Hexadecimal(BSTR argHexadecimal) {
  return Member("ImmediateCommand::put_Hexadecimal",
                [&] { SetBytes(HexadecimalBstrToBytes(argHexadecimal)); });
}

STDMETHODIMP ImmediateCommand::get_SendTimeout(LONG* retSendTimeout) {
  return Member("ImmediateCommand::get_SendTimeout", [&] {
    ClearOutput<LONG>(retSendTimeout, 0);
    OLock lock(critical_section());
    *retSendTimeout = data_.send_timeout;
  });
}

STDMETHODIMP ImmediateCommand::put_SendTimeout(LONG argSendTimeout) {
  return Member("ImmediateCommand::put_SendTimeout", [&] {
    OLock lock(critical_section());
    data_.send_timeout = argSendTimeout;
  });
}

ImmediateCommandData ImmediateCommand::Read(IImmediateCommand& command) {
  ImmediateCommandData data;
  VARIANT binary;
  VariantInit(&binary);
  CheckPropertyAccess(command.get_Binary(&binary), "ImmediateCommand.Binary");
  data.bytes = TakeVariantBytes(&binary);
  CheckPropertyAccess(command.get_SendTimeout(&data.send_timeout), "ImmediateCommand.SendTimeout");
  return data;
}

VANTREL_CLASS_CREATOR(ImmediateCommand)

}  // namespace vantrel
