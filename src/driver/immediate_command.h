// A command for the device that expects no answer: the bytes to send and the
// send time-out. A client fills it and hands it to PrinterPort.SendImmediate.
#pragma once

#include "driver/command_bytes.h"
#include "frame/automation.h"
#include "frame/object.h"
#include "vantrel_stubs.h"

namespace vantrel {

// What a port sends for one immediate command. The time-out is milliseconds;
// 0 or less leaves the driver's own default in force.
struct ImmediateCommandData {
  ByteVector bytes;
  LONG send_timeout = 0;
};

class ImmediateCommand
    : public frame::AutomationObject<IImmediateCommandStubs, IID_IImmediateCommand,
                                     CLSID_ImmediateCommand> {
 public:
  // The bytes in their three forms (command_bytes.h); a put replaces them.
  STDMETHODIMP get_Binary(VARIANT* retBinary) override;
  STDMETHODIMP put_Binary(VARIANT argBinary) override;
  STDMETHODIMP get_Text(BSTR* retText) override;
  STDMETHODIMP put_Text(BSTR argText) override;
  STDMETHODIMP get_Hexadecimal(BSTR* retHexadecimal) override;
  STDMETHODIMP put_Hexadecimal(BSTR argHexadecimal) override;
  // Stored as given.
  STDMETHODIMP get_SendTimeout(LONG* retSendTimeout) override;
  STDMETHODIMP put_SendTimeout(LONG argSendTimeout) override;

  // Reads any IImmediateCommand through its interface, as a port does before
  // sending it. Throws "Invalid argument" when the bytes are not a byte array,
  // OStdException when the object refuses a read. Calls into `command`, so no
  // lock of the caller's may be held. Any thread.
  static ImmediateCommandData Read(IImmediateCommand& command);

 private:
  ByteVector Bytes();
  void SetBytes(ByteVector bytes);

  ImmediateCommandData data_ GUARDED_BY(critical_section());
};

}  // namespace vantrel
