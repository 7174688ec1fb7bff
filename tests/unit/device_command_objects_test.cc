// QueryCommand, ImmediateCommand and QueryResponse as clients use them:
// created through the class object, properties reached through the
// interface and through IDispatch by name.
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "driver/immediate_command.h"
#include "driver/query_command.h"
#include "driver/query_response.h"
#include "frame/ole_string.h"
#include "unit/dispatch_calls.h"
#include "unit/frame_test_support.h"

namespace vantrel {
namespace {

using frame::Bstr;
using frame::ComPtr;
using testing::GetByName;
using testing::PutByName;
using testing::ScopedVariant;

constexpr HRESULT kInvalidArgument = static_cast<HRESULT>(0x80070057);

VARIANT TextValue(const Bstr& text) {
  VARIANT value;
  VariantInit(&value);
  V_VT(&value) = VT_BSTR;
  V_BSTR(&value) = text.get();  // still owned by `text`
  return value;
}

struct QueryCommandKind {
  using Class = QueryCommand;
  using Interface = IQueryCommand;
  static const CLSID& clsid() { return CLSID_QueryCommand; }
  static const IID& iid() { return IID_IQueryCommand; }
  static constexpr const char* kProgId = "Vantrel.QueryCommand.1";
};

struct ImmediateCommandKind {
  using Class = ImmediateCommand;
  using Interface = IImmediateCommand;
  static const CLSID& clsid() { return CLSID_ImmediateCommand; }
  static const IID& iid() { return IID_IImmediateCommand; }
  static constexpr const char* kProgId = "Vantrel.ImmediateCommand.1";
};

// The members both command classes share.
template <class Kind>
class CommandObjectTest : public ::testing::Test {
 protected:
  ComPtr<typename Kind::Interface> command_ =
      testing::CreateThroughClassObject<typename Kind::Interface>(Kind::clsid(), Kind::iid());

  std::string Hexadecimal() {
    ScopedVariant value;
    EXPECT_EQ(GetByName(*command_.Get(), "Hexadecimal", value.get()), S_OK);
    return testing::TextOf(*value);
  }
};

using CommandKinds = ::testing::Types<QueryCommandKind, ImmediateCommandKind>;
TYPED_TEST_SUITE(CommandObjectTest, CommandKinds);

TYPED_TEST(CommandObjectTest, TheThreeFormsShareOneStore) {
  IDispatch& command = *this->command_.Get();
  EXPECT_EQ(this->Hexadecimal(), "");
  const Bstr digits("0a1");
  ASSERT_EQ(PutByName(command, "Hexadecimal", TextValue(digits)), S_OK);
  ScopedVariant binary;
  ASSERT_EQ(GetByName(command, "Binary", binary.get()), S_OK);
  EXPECT_EQ(binary.type(), VT_ARRAY | VT_UI1);
  EXPECT_EQ(VariantToBytes(*binary), ByteVector{0x0A});

  const Bstr text("~H\xC3\xA9");  // "~Hé"
  ASSERT_EQ(this->command_->put_Text(text.get()), S_OK);
  EXPECT_EQ(this->Hexadecimal(), "7E48C3A9");

  VARIANT bytes;
  BytesToVariant(ByteVector{0x00, 0xFF}, &bytes);
  EXPECT_EQ(PutByName(command, "Binary", bytes), S_OK);
  VariantClear(&bytes);  // the object keeps its own copy
  EXPECT_EQ(this->Hexadecimal(), "00FF");
}

TYPED_TEST(CommandObjectTest, RefusedBinaryKeepsTheBytesAndSaysWhy) {
  testing::RegisteredLibrary library;
  const Bstr digits("1B");
  ASSERT_EQ(this->command_->put_Hexadecimal(digits.get()), S_OK);

  const VARIANT not_an_array = TextValue(digits);
  EXPECT_EQ(this->command_->put_Binary(not_an_array), kInvalidArgument);
  const testing::ClientError error = testing::TakeClientError();
  EXPECT_EQ(error.description, "Invalid argument");
  EXPECT_EQ(error.source, TypeParam::kProgId);
  EXPECT_EQ(this->Hexadecimal(), "1B");
  EXPECT_EQ(this->command_->get_Text(nullptr), kInvalidArgument);
}

TYPED_TEST(CommandObjectTest, PortReadsTheBytesAndSendTimeout) {
  const Bstr text("^XA");
  ASSERT_EQ(this->command_->put_Text(text.get()), S_OK);
  ASSERT_EQ(PutByName(*this->command_.Get(), "SendTimeout", testing::I4Value(-1)), S_OK);
  const auto data = TypeParam::Class::Read(*this->command_.Get());
  EXPECT_EQ(data.bytes, (ByteVector{'^', 'X', 'A'}));
  EXPECT_EQ(data.send_timeout, -1);  // kept as given: "0 or less" means the default
}

TEST(QueryCommandTest, PortReadsTheReceiveSettings) {
  auto command =
      testing::CreateThroughClassObject<IQueryCommand>(CLSID_QueryCommand, IID_IQueryCommand);
  const Bstr pattern("\r\n");
  ASSERT_EQ(PutByName(*command.Get(), "ReceiveStartTimeout", testing::I4Value(2000)), S_OK);
  ASSERT_EQ(command->put_ReceiveIntervalTimeout(150), S_OK);
  ASSERT_EQ(command->put_ResponsePattern(pattern.get()), S_OK);
  const QueryCommandData data = QueryCommand::Read(*command.Get());
  EXPECT_EQ(data.receive_start_timeout, 2000);
  EXPECT_EQ(data.receive_interval_timeout, 150);
  EXPECT_EQ(data.response_pattern, "\r\n");
}

// Responded, Failed and Pending, read by name.
std::vector<bool> Flags(IDispatch& response) {
  std::vector<bool> flags;
  for (const char* name : {"Responded", "Failed", "Pending"}) {
    ScopedVariant value;
    EXPECT_EQ(GetByName(response, name, value.get()), S_OK) << name;
    flags.push_back(V_VT(value.get()) == VT_BOOL && V_BOOL(value.get()) == VARIANT_TRUE);
  }
  return flags;
}

TEST(QueryResponseTest, StatusDecidesTheFlagsAndWhetherTheReplyIsKept) {
  // Made through the class object, it is empty and clients cannot change it.
  auto made =
      testing::CreateThroughClassObject<IQueryResponse>(CLSID_QueryResponse, IID_IQueryResponse);
  ASSERT_TRUE(made);
  EXPECT_EQ(Flags(*made.Get()), (std::vector<bool>{false, false, false}));
  EXPECT_TRUE(FAILED(PutByName(*made.Get(), "Pending", testing::BoolValue(true))));

  struct Row {
    long status;
    std::vector<bool> flags;  // Responded, Failed, Pending
  };
  const Row rows[] = {
      {0, {false, false, true}},   {1, {false, false, true}}, {2, {true, false, false}},
      {3, {true, true, false}},    {4, {true, true, false}},  {5, {false, false, false}},
      {-1, {false, false, false}},
  };
  for (const Row& row : rows) {
    QueryResponse* filled = frame::CreateObject<QueryResponse>();
    auto response = ComPtr<IQueryResponse>::Adopt(filled);
    filled->SetQueryStatus(row.status, {0x41, 0x00});
    EXPECT_EQ(Flags(*response.Get()), row.flags) << "status " << row.status;
    Bstr hexadecimal;
    ASSERT_EQ(response->get_Hexadecimal(hexadecimal.receive()), S_OK);
    EXPECT_EQ(frame::BstrToUtf8(hexadecimal.get()), row.status == 2 ? "4100" : "")
        << "status " << row.status;
  }
  // No reply is VT_EMPTY; an answer without bytes is an empty array.
  ScopedVariant none;
  ASSERT_EQ(made->get_Binary(none.get()), S_OK);
  EXPECT_EQ(none.type(), VT_EMPTY);
  QueryResponse* filled = frame::CreateObject<QueryResponse>();
  auto response = ComPtr<IQueryResponse>::Adopt(filled);
  filled->SetQueryStatus(kQueryStatusAnswered, {});
  ScopedVariant empty;
  ASSERT_EQ(response->get_Binary(empty.get()), S_OK);
  EXPECT_EQ(empty.type(), VT_ARRAY | VT_UI1);
}

// Writers replace the bytes while readers read them; every read must see one
// whole value that some writer stored.
TEST(QueryCommandTest, ThreadsShareOneCommand) {
  auto command =
      testing::CreateThroughClassObject<IQueryCommand>(CLSID_QueryCommand, IID_IQueryCommand);
  constexpr int kRounds = 2000;
  std::vector<std::thread> threads;
  for (const char* digits : {"0000", "FFFFFF"}) {
    threads.emplace_back([&command, digits] {
      const Bstr value(digits);
      for (int i = 0; i < kRounds; ++i) {
        EXPECT_EQ(command->put_Hexadecimal(value.get()), S_OK);
        EXPECT_EQ(command->put_SendTimeout(i), S_OK);
      }
    });
  }
  for (int reader = 0; reader < 2; ++reader) {
    threads.emplace_back([&command] {
      for (int i = 0; i < kRounds; ++i) {
        ScopedVariant binary;
        ASSERT_EQ(command->get_Binary(binary.get()), S_OK);
        const ByteVector bytes = VariantToBytes(*binary);
        EXPECT_TRUE(bytes.empty() || bytes == ByteVector(2, 0x00) || bytes == ByteVector(3, 0xFF));
        Bstr text;
        ASSERT_EQ(command->get_Hexadecimal(text.receive()), S_OK);
        const std::string hexadecimal = frame::BstrToUtf8(text.get());
        EXPECT_TRUE(hexadecimal.empty() || hexadecimal == "0000" || hexadecimal == "FFFFFF");
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace vantrel
