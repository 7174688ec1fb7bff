// A query for the device: the bytes to send, the time-outs of the exchange and
// the pattern that ends the reply. A client fills it and hands it to
// PrinterPort.StartQuery.
#pragma once

#include <string>

#include "driver/command_bytes.h"
#include "frame/automation.h"
#include "frame/object.h"
#include "vantrel_stubs.h"

namespace vantrel {

// What a port sends for one query. Time-outs are milliseconds; 0 or less
// leaves the driver's own default in force.
struct QueryCommandData {
  ByteVector bytes;
  LONG send_timeout = 0;
  LONG receive_start_timeout = 0;
  LONG receive_interval_timeout = 0;
  std::string response_pattern;  // UTF-8
};

class QueryCommand
    : public frame::AutomationObject<IQueryCommandStubs, IID_IQueryCommand, CLSID_QueryCommand> {
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
  STDMETHODIMP get_ReceiveStartTimeout(LONG* retReceiveStartTimeout) override;
  STDMETHODIMP put_ReceiveStartTimeout(LONG argReceiveStartTimeout) override;
  STDMETHODIMP get_ReceiveIntervalTimeout(LONG* retReceiveIntervalTimeout) override;
  STDMETHODIMP put_ReceiveIntervalTimeout(LONG argReceiveIntervalTimeout) override;
  STDMETHODIMP get_ResponsePattern(BSTR* retResponsePattern) override;
  STDMETHODIMP put_ResponsePattern(BSTR argResponsePattern) override;

  // Reads any IQueryCommand through its interface, as a port does before
  // sending it. Throws "Invalid argument" when the bytes are not a byte array,
  // OStdException when the object refuses a read. Calls into `command`, so no
  // lock of the caller's may be held. Any thread.
  static QueryCommandData Read(IQueryCommand& command);

 private:
  template <class Field>
  Field Get(Field QueryCommandData::*field);
  template <class Field>
  void Set(Field QueryCommandData::*field, Field value);

  QueryCommandData data_ GUARDED_BY(critical_section());
};

}  // namespace vantrel
