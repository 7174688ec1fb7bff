// The root object and the small value objects clients fill and pass to other
// members: PrintersFilter, CommandParameters and PrinterConfigurationFilter.
#include <gtest/gtest.h>

#include "driver/printer_configuration_filter.h"
#include "frame/ole_string.h"
#include "printers/command_parameters.h"
#include "server/kesto.h"
#include "server/printers_filter.h"
#include "support/event_log.h"
#include "unit/dispatch_calls.h"
#include "unit/frame_test_support.h"

namespace vantrel {
namespace {

using frame::ComPtr;
using testing::BoolValue;
using testing::CreateThroughClassObject;
using testing::GetByName;
using testing::PutByName;
using testing::ScopedVariant;

// A VT_BOOL property read by name, as -1/0/other.
VARIANT_BOOL BoolByName(IDispatch& object, const char* name) {
  ScopedVariant value;
  EXPECT_EQ(GetByName(object, name, value.get()), S_OK) << name;
  EXPECT_EQ(value.type(), VT_BOOL) << name;
  return V_BOOL(value.get());
}

TEST(KestoTest, TellsTheBuildAndSharesOneProcessLog) {
  testing::RegisteredLibrary library;  // the log reads its mask from this store
  auto kesto = CreateThroughClassObject<IKesto>(CLSID_Kesto, IID_IKesto);
  ASSERT_TRUE(kesto);
  ScopedVariant version;
  ASSERT_EQ(GetByName(*kesto.Get(), "Version", version.get()), S_OK);
  EXPECT_EQ(testing::TextOf(*version), VANTREL_VERSION);
  frame::Bstr platform;
  ASSERT_EQ(kesto->get_Platform(platform.receive()), S_OK);
  EXPECT_EQ(frame::BstrToUtf8(platform.get()), VANTREL_PROCESSOR);

  const std::shared_ptr<OEventLog> log = OEventLog::ProcessIfCreated();
  ASSERT_NE(log, nullptr);
  auto second = CreateThroughClassObject<IKesto>(CLSID_Kesto, IID_IKesto);
  ASSERT_TRUE(second);
  EXPECT_EQ(OEventLog::ProcessIfCreated(), log);
}

TEST(PrintersFilterTest, StartsWithLocalAndNetworkAndStoresWhatItIsGiven) {
  auto filter =
      CreateThroughClassObject<IPrintersFilter>(CLSID_PrintersFilter, IID_IPrintersFilter);
  EXPECT_EQ(BoolByName(*filter.Get(), "Local"), VARIANT_TRUE);
  EXPECT_EQ(BoolByName(*filter.Get(), "Network"), VARIANT_TRUE);
  EXPECT_EQ(BoolByName(*filter.Get(), "Shared"), VARIANT_FALSE);

  ASSERT_EQ(PutByName(*filter.Get(), "Network", BoolValue(false)), S_OK);
  ASSERT_EQ(filter->put_Shared(1), S_OK);  // not a canonical true, kept anyway
  const PrintersFilterSwitches switches = PrintersFilter::Read(*filter.Get());
  EXPECT_TRUE(switches.local);
  EXPECT_FALSE(switches.network);
  EXPECT_TRUE(switches.shared);
}

TEST(CommandParametersTest, ParentWindowTakesIntegersOfEveryWidthAndIgnoresTheRest) {
  struct Row {
    VARTYPE type;
    int64_t given;    // stored whole; the narrower fields are its low bytes
    uint64_t handle;  // what Command hands the driver afterwards
    VARTYPE read_as;  // what a client reads back
  };
  const Row rows[] = {
      {VT_I4, -2, 0xFFFFFFFFFFFFFFFEull, VT_I4},
      {VT_R8, 0x4014000000000000, 0xFFFFFFFFFFFFFFFEull, VT_I4},  // 5.0: ignored
      {VT_UI4, 0xFFFFFFFF, 0xFFFFFFFFull, VT_I8},
      {VT_I8, 0x100000010, 0x100000010ull, VT_I8},
      {VT_UI8, 32, 32, VT_I4},
  };
  auto parameters =
      CreateThroughClassObject<ICommandParameters>(CLSID_CommandParameters, IID_ICommandParameters);
  EXPECT_EQ(CommandParameters::ReadInputs(*parameters.Get()).owner_window, 0u);
  for (const Row& row : rows) {
    VARIANT window;
    VariantInit(&window);
    V_VT(&window) = row.type;
    V_I8(&window) = row.given;
    ASSERT_EQ(parameters->put_ParentWindow(window), S_OK);
    EXPECT_EQ(CommandParameters::ReadInputs(*parameters.Get()).owner_window, row.handle)
        << "type " << row.type;
    ScopedVariant back;
    ASSERT_EQ(parameters->get_ParentWindow(back.get()), S_OK);
    EXPECT_EQ(back.type(), row.read_as) << "type " << row.type;
  }
  // A script's variable arrives by reference.
  LONG handle = 0x5678;
  VARIANT reference;
  V_VT(&reference) = VT_BYREF | VT_I4;
  V_I4REF(&reference) = &handle;
  ASSERT_EQ(PutByName(*parameters.Get(), "ParentWindow", reference), S_OK);
  EXPECT_EQ(CommandParameters::ReadInputs(*parameters.Get()).owner_window, 0x5678u);
}

TEST(CommandParametersTest, ExecuteGoesInAndEachAnswerComesBackInItsOwnProperty) {
  auto parameters =
      CreateThroughClassObject<ICommandParameters>(CLSID_CommandParameters, IID_ICommandParameters);
  EXPECT_TRUE(CommandParameters::ReadInputs(*parameters.Get()).execute);
  ASSERT_EQ(PutByName(*parameters.Get(), "Execute", BoolValue(false)), S_OK);
  EXPECT_FALSE(CommandParameters::ReadInputs(*parameters.Get()).execute);

  const char* const names[] = {"IsSupported", "HasUserInterface", "RequiresBidirectionalPort",
                               "RequiresManagementRights"};
  for (const char* name : names) EXPECT_EQ(BoolByName(*parameters.Get(), name), VARIANT_FALSE);
  // Two patterns that together tell every pair of answers apart.
  for (const CommandAnswers& answers :
       {CommandAnswers{true, false, true, false}, CommandAnswers{true, true, false, false}}) {
    CommandParameters::WriteAnswers(*parameters.Get(), answers);
    const bool expected[] = {answers.is_supported, answers.has_user_interface,
                             answers.requires_bidirectional_port,
                             answers.requires_management_rights};
    for (int i = 0; i < 4; ++i) {
      EXPECT_EQ(BoolByName(*parameters.Get(), names[i]), expected[i] ? VARIANT_TRUE : 0)
          << names[i];
    }
  }
}

ComPtr<IPrinterConfigurationFilter> NewConfigurationFilter() {
  return CreateThroughClassObject<IPrinterConfigurationFilter>(CLSID_PrinterConfigurationFilter,
                                                               IID_IPrinterConfigurationFilter);
}

TEST(PrinterConfigurationFilterTest, EachSwitchSelectsItsBitAndNoneSelectsAll) {
  const struct {
    const char* property;
    uint32_t bit;
  } rows[] = {
      {"Stocks", 0x001},
      {"Presets", 0x002},
      {"UtilityFonts", 0x004},
      {"FontSubstitutions", 0x020},
      {"DownloadedFonts", 0x040},
      {"OptionalFonts", 0x080},
      {"PrinterProperties", 0x100},
      {"PrintingPreferences", 0x200},
      {"NetworkSettings", 0x400},
  };
  for (const auto& row : rows) {
    auto filter = NewConfigurationFilter();
    ASSERT_EQ(PutByName(*filter.Get(), row.property, BoolValue(true)), S_OK) << row.property;
    EXPECT_EQ(BoolByName(*filter.Get(), row.property), VARIANT_TRUE);
    EXPECT_EQ(PrinterConfigurationFilter::SettingsMask(*filter.Get()), row.bit) << row.property;
  }
  auto filter = NewConfigurationFilter();
  EXPECT_EQ(PrinterConfigurationFilter::SettingsMask(*filter.Get()), kAllSettings);
  // Only VARIANT_TRUE selects; another value is stored but selects nothing.
  ASSERT_EQ(filter->put_Stocks(1), S_OK);
  EXPECT_EQ(PrinterConfigurationFilter::SettingsMask(*filter.Get()), kAllSettings);
  ASSERT_EQ(filter->put_Stocks(VARIANT_TRUE), S_OK);
  ASSERT_EQ(filter->put_NetworkSettings(VARIANT_TRUE), S_OK);
  EXPECT_EQ(PrinterConfigurationFilter::SettingsMask(*filter.Get()), 0x401u);
}

}  // namespace
}  // namespace vantrel
