#include "driver/query_command.h"

#include <utility>

#include "driver/automation_values.h"
#include "frame/class_table.h"
#include "frame/ole_string.h"
#include "support/synchronizer.h"

namespace vantrel {

template <class Field>
Field QueryCommand::Get(Field QueryCommandData::*field) {
  OLock lock(critical_section());
  return data_.*field;
}

template <class Field>
void QueryCommand::Set(Field QueryCommandData::*field, Field value) {
  OLock lock(critical_section());
  data_.*field = std::move(value);
}

STDMETHODIMP QueryCommand::get_Binary(VARIANT* retBinary) {
  return Member("QueryCommand::get_Binary", [&] {
    if (retBinary == nullptr) frame::Throw(frame::kInvalidArgument);
    VariantInit(retBinary);
    BytesToVariant(Get(&QueryCommandData::bytes), retBinary);
  });
}

STDMETHODIMP QueryCommand::put_Binary(VARIANT argBinary) {
  return Member("QueryCommand::put_Binary",
                [&] { Set(&QueryCommandData::bytes, VariantToBytes(argBinary)); });
}

STDMETHODIMP QueryCommand::get_Text(BSTR* retText) {
  return Member("QueryCommand::get_Text", [&] {
    ClearOutput<BSTR>(retText, nullptr);
    *retText = BytesToTextBstr(Get(&QueryCommandData::bytes));
  });
}

STDMETHODIMP QueryCommand::put_Text(BSTR argText) {
  return Member("QueryCommand::put_Text",
                [&] { Set(&QueryCommandData::bytes, TextBstrToBytes(argText)); });
}

STDMETHODIMP QueryCommand::get_Hexadecimal(BSTR* retHexadecimal) {
  return Member("QueryCommand::get_Hexadecimal", [&] {
    ClearOutput<BSTR>(retHexadecimal, nullptr);
    *retHexadecimal = BytesToHexadecimalBstr(Get(&QueryCommandData::bytes));
  });
}

STDMETHODIMP QueryCommand::put_Hexadecimal(BSTR argHexadecimal) {
  return Member("QueryCommand::put_Hexadecimal",
                [&] { Set(&QueryCommandData::bytes, HexadecimalBstrToBytes(argHexadecimal)); });
}

STDMETHODIMP QueryCommand::get_SendTimeout(LONG* retSendTimeout) {
  return Member("QueryCommand::get_SendTimeout", [&] {
    ClearOutput<LONG>(retSendTimeout, 0);
    *retSendTimeout = Get(&QueryCommandData::send_timeout);
  });
}

STDMETHODIMP QueryCommand::put_SendTimeout(LONG argSendTimeout) {
  return Member("QueryCommand::put_SendTimeout",
                [&] { Set(&QueryCommandData::send_timeout, argSendTimeout); });
}

STDMETHODIMP QueryCommand::get_ReceiveStartTimeout(LONG* retReceiveStartTimeout) {
  return Member("QueryCommand::get_ReceiveStartTimeout", [&] {
    ClearOutput<LONG>(retReceiveStartTimeout, 0);
    *retReceiveStartTimeout = Get(&QueryCommandData::receive_start_timeout);
  });
}

STDMETHODIMP QueryCommand::put_ReceiveStartTimeout(LONG argReceiveStartTimeout) {
  return Member("QueryCommand::put_ReceiveStartTimeout",
                [&] { Set(&QueryCommandData::receive_start_timeout, argReceiveStartTimeout); });
}

STDMETHODIMP QueryCommand::get_ReceiveIntervalTimeout(LONG* retReceiveIntervalTimeout) {
  return Member("QueryCommand::get_ReceiveIntervalTimeout", [&] {
    ClearOutput<LONG>(retReceiveIntervalTimeout, 0);
    *retReceiveIntervalTimeout = Get(&QueryCommandData::receive_interval_timeout);
  });
}

STDMETHODIMP QueryCommand::put_ReceiveIntervalTimeout(LONG argReceiveIntervalTimeout) {
  return Member("QueryCommand::put_ReceiveIntervalTimeout", [&] {
    Set(&QueryCommandData::receive_interval_timeout, argReceiveIntervalTimeout);
  });
}

STDMETHODIMP QueryCommand::get_ResponsePattern(BSTR* retResponsePattern) {
  return Member("QueryCommand::get_ResponsePattern", [&] {
    ClearOutput<BSTR>(retResponsePattern, nullptr);
    *retResponsePattern = frame::AllocBstr(Get(&QueryCommandData::response_pattern));
  });
}

STDMETHODIMP QueryCommand::put_ResponsePattern(BSTR argResponsePattern) {
  return Member("QueryCommand::put_ResponsePattern", [&] {
    Set(&QueryCommandData::response_pattern, frame::BstrToUtf8(argResponsePattern));
  });
}

QueryCommandData QueryCommand::Read(IQueryCommand& command) {
  QueryCommandData data;
  VARIANT binary;
  VariantInit(&binary);
  CheckPropertyAccess(command.get_Binary(&binary), "QueryCommand.Binary");
  data.bytes = TakeVariantBytes(&binary);
  CheckPropertyAccess(command.get_SendTimeout(&data.send_timeout), "QueryCommand.SendTimeout");
  CheckPropertyAccess(command.get_ReceiveStartTimeout(&data.receive_start_timeout),
                      "QueryCommand.ReceiveStartTimeout");
  CheckPropertyAccess(command.get_ReceiveIntervalTimeout(&data.receive_interval_timeout),
                      "QueryCommand.ReceiveIntervalTimeout");
  frame::Bstr pattern;
  CheckPropertyAccess(command.get_ResponsePattern(pattern.receive()),
                      "QueryCommand.ResponsePattern");
  data.response_pattern = frame::BstrToUtf8(pattern.get());
  return data;
}

VANTREL_CLASS_CREATOR(QueryCommand)

}  // namespace vantrel
