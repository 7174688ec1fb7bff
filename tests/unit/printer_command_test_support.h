// What the Printer.Command tests of both targets share: printers on the fake
// spooler (one plain, one whose data names a driver module that is not
// there), argument builders, and the log lines a command added.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "fakes/fake_settings_store.h"
#include "fakes/fake_spooler.h"
#include "frame/com_ptr.h"
#include "frame/object.h"
#include "frame/ole_string.h"
#include "platform/spooler.h"
#include "printers/command_parameters.h"
#include "printers/printer.h"
#include "support/event_log.h"
#include "unit/event_log_lines.h"

namespace vantrel::testing {

inline constexpr HRESULT kInvalidArgument = static_cast<HRESULT>(0x80070057);
inline constexpr char kBasicPrinter[] = "Plain Labels";
inline constexpr char kAdvancedPrinter[] = "Kesto Labels";

class PrinterCommandTest : public ::testing::Test {
 protected:
  void SetUp() override {
    platform::SetSettingsStoreForTesting(&store_);
    platform::SetSpoolerForTesting(&spooler_);
    spooler_.AddPrinter(kBasicPrinter);
    spooler_.AddPrinter(kAdvancedPrinter);
    // The value's presence makes the printer advanced; its binary content
    // names no module, so the driver can never be reached.
    spooler_.SetData(kAdvancedPrinter, "Kesto Interface V3");
    log_lines_before_ = ReadLines(LogFile()).size();
  }
  void TearDown() override {
    printers_.clear();  // the contexts go before the spooler they use
    platform::SetSpoolerForTesting(nullptr);
    platform::SetSettingsStoreForTesting(nullptr);
  }

  frame::ComPtr<Printer> NewPrinter() {
    auto printer = frame::ComPtr<Printer>::Adopt(frame::CreateObject<Printer>());
    printers_.push_back(printer);
    return printer;
  }
  frame::ComPtr<Printer> Initialized(const std::string& name) {
    auto printer = NewPrinter();
    const frame::Bstr text(name);
    EXPECT_EQ(printer->Initialize(text.get()), S_OK) << name;
    data_reads_after_initialize_ = spooler_.Calls("GetData");
    return printer;
  }
  static frame::ComPtr<CommandParameters> NewParameters() {
    return frame::ComPtr<CommandParameters>::Adopt(frame::CreateObject<CommandParameters>());
  }

  static VARIANT TypedArgument(VARTYPE type) {
    VARIANT argument;
    VariantInit(&argument);
    V_VT(&argument) = type;
    return argument;
  }
  static VARIANT ErrorArgument(HRESULT code) {
    VARIANT argument = TypedArgument(VT_ERROR);
    V_ERROR(&argument) = code;
    return argument;
  }
  static VARIANT MissingArgument() { return ErrorArgument(DISP_E_PARAMNOTFOUND); }
  static VARIANT NumberArgument(LONG value) {
    VARIANT argument = TypedArgument(VT_I4);
    V_I4(&argument) = value;
    return argument;
  }
  template <class Object>
  static VARIANT ObjectArgument(Object* object) {  // borrowed for the call
    VARIANT argument = TypedArgument(VT_DISPATCH);
    V_DISPATCH(&argument) =
        static_cast<IDispatch*>(static_cast<typename Object::DefaultInterface*>(object));
    return argument;
  }
  static VARIANT ObjectArgument(std::nullptr_t) { return TypedArgument(VT_DISPATCH); }
  // A variable passed by reference, as scripting clients pass them.
  static VARIANT ReferenceTo(VARIANT* variable) {
    VARIANT argument = TypedArgument(VT_BYREF | VT_VARIANT);
    V_VARIANTREF(&argument) = variable;
    return argument;
  }

  static std::string LogFile() { return OEventLog::Process()->FilePath(); }
  // The process log's lines written since the test began.
  std::vector<std::string> NewLogLines() const {
    std::vector<std::string> lines = ReadLines(LogFile());
    lines.erase(lines.begin(), lines.begin() + std::min(lines.size(), log_lines_before_));
    return lines;
  }

  FakeSettingsStore store_;
  FakeSpooler spooler_;
  std::vector<frame::ComPtr<Printer>> printers_;
  int data_reads_after_initialize_ = 0;
  size_t log_lines_before_ = 0;
};

}  // namespace vantrel::testing
