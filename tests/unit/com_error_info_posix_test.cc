// Error information: the error object, and each thread's current one being
// handed over once, kept apart from other threads and released at thread exit.
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>

#include "automation_runtime.h"

namespace {

// An error object the test can watch being released.
class CountingErrorInfo : public IErrorInfo {
 public:
  ULONG references() const { return references_; }
  STDMETHODIMP QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
  STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
  STDMETHODIMP_(ULONG) Release() override { return --references_; }
  STDMETHODIMP GetGUID(GUID*) override { return E_NOTIMPL; }
  STDMETHODIMP GetSource(BSTR*) override { return E_NOTIMPL; }
  STDMETHODIMP GetDescription(BSTR*) override { return E_NOTIMPL; }
  STDMETHODIMP GetHelpFile(BSTR*) override { return E_NOTIMPL; }
  STDMETHODIMP GetHelpContext(DWORD*) override { return E_NOTIMPL; }

 private:
  std::atomic<ULONG> references_{1};
};

// Publishes an error with `description` on the calling thread.
void Publish(const char16_t* description) {
  ICreateErrorInfo* create = nullptr;
  ASSERT_EQ(CreateErrorInfo(&create), S_OK);
  create->SetDescription(const_cast<LPOLESTR>(description));
  IErrorInfo* info = nullptr;
  ASSERT_EQ(create->QueryInterface(IID_IErrorInfo, reinterpret_cast<void**>(&info)), S_OK);
  create->Release();
  ASSERT_EQ(SetErrorInfo(0, info), S_OK);
  info->Release();  // the thread's slot keeps its own reference
}

// Takes the calling thread's error and answers its description ("<none>").
std::u16string TakeDescription() {
  IErrorInfo* info = nullptr;
  if (GetErrorInfo(0, &info) != S_OK) return u"<none>";
  BSTR text = nullptr;
  info->GetDescription(&text);
  std::u16string result(text == nullptr ? u"<null>" : text);
  SysFreeString(text);
  info->Release();
  return result;
}

TEST(ComErrorInfoTest, TheErrorObjectKeepsWhatWasSet) {
  ICreateErrorInfo* create = nullptr;
  ASSERT_EQ(CreateErrorInfo(&create), S_OK);
  IErrorInfo* info = nullptr;
  ASSERT_EQ(create->QueryInterface(IID_IErrorInfo, reinterpret_cast<void**>(&info)), S_OK);
  BSTR text = reinterpret_cast<BSTR>(&text);
  ASSERT_EQ(info->GetSource(&text), S_OK);
  EXPECT_EQ(text, nullptr) << "an unset text is a null string";

  create->SetGUID(IID_IDispatch);
  create->SetSource(const_cast<LPOLESTR>(u"Vantrel.Printer"));
  create->SetHelpContext(17);
  GUID guid{};
  DWORD context = 0;
  ASSERT_EQ(info->GetGUID(&guid), S_OK);
  ASSERT_EQ(info->GetSource(&text), S_OK);
  ASSERT_EQ(info->GetHelpContext(&context), S_OK);
  EXPECT_EQ(guid, IID_IDispatch);
  EXPECT_EQ(std::u16string(text), u"Vantrel.Printer");
  EXPECT_EQ(context, 17u);
  SysFreeString(text);

  IUnknown* unknown = nullptr;
  ASSERT_EQ(info->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&unknown)), S_OK);
  EXPECT_EQ(unknown, static_cast<IUnknown*>(info));
  void* other = &other;
  EXPECT_EQ(info->QueryInterface(IID_IDispatch, &other), E_NOINTERFACE);
  EXPECT_EQ(other, nullptr);
  unknown->Release();
  info->Release();
  create->Release();  // the last reference: freed (leak check)
  EXPECT_EQ(CreateErrorInfo(nullptr), E_INVALIDARG);
}

TEST(ComErrorInfoTest, GetHandsTheErrorOverOnce) {
  Publish(u"paper out");
  EXPECT_EQ(TakeDescription(), u"paper out");
  IErrorInfo* info = reinterpret_cast<IErrorInfo*>(&info);
  EXPECT_EQ(GetErrorInfo(0, &info), S_FALSE);
  EXPECT_EQ(info, nullptr);
  EXPECT_EQ(GetErrorInfo(0, nullptr), E_INVALIDARG);
  EXPECT_EQ(GetErrorInfo(1, &info), E_INVALIDARG);
  EXPECT_EQ(SetErrorInfo(1, nullptr), E_INVALIDARG);
}

TEST(ComErrorInfoTest, SettingReplacesAndReleasesThePrevious) {
  CountingErrorInfo first, second;
  ASSERT_EQ(SetErrorInfo(0, &first), S_OK);
  EXPECT_EQ(first.references(), 2u);
  ASSERT_EQ(SetErrorInfo(0, &second), S_OK);
  EXPECT_EQ(first.references(), 1u);
  ASSERT_EQ(SetErrorInfo(0, nullptr), S_OK);
  EXPECT_EQ(second.references(), 1u);
  EXPECT_EQ(TakeDescription(), u"<none>");
}

TEST(ComErrorInfoTest, EachThreadSeesOnlyItsOwnError) {
  Publish(u"main");
  std::atomic<int> published{0};
  std::u16string seen[2];
  auto worker = [&](int n, const char16_t* description) {
    Publish(description);
    ++published;
    while (published < 2) std::this_thread::yield();
    seen[n] = TakeDescription();
  };
  std::thread a(worker, 0, u"first");
  std::thread b(worker, 1, u"second");
  a.join();
  b.join();
  EXPECT_EQ(seen[0], u"first");
  EXPECT_EQ(seen[1], u"second");
  EXPECT_EQ(TakeDescription(), u"main");
}

TEST(ComErrorInfoTest, AThreadsErrorIsReleasedWhenTheThreadEnds) {
  CountingErrorInfo left_behind;
  std::thread([&] { SetErrorInfo(0, &left_behind); }).join();
  EXPECT_EQ(left_behind.references(), 1u);
}

TEST(ComErrorInfoTest, OneErrorObjectMayBeUsedFromSeveralThreads) {
  ICreateErrorInfo* create = nullptr;
  ASSERT_EQ(CreateErrorInfo(&create), S_OK);
  IErrorInfo* info = nullptr;
  ASSERT_EQ(create->QueryInterface(IID_IErrorInfo, reinterpret_cast<void**>(&info)), S_OK);
  std::thread writer([&] {
    for (int i = 0; i < 500; ++i) {
      create->SetDescription(const_cast<LPOLESTR>(i % 2 ? u"odd" : u"even"));
    }
  });
  std::thread reader([&] {
    for (int i = 0; i < 500; ++i) {
      BSTR text = nullptr;
      info->GetDescription(&text);
      if (text != nullptr) {
        const std::u16string seen(text);
        EXPECT_TRUE(seen == u"odd" || seen == u"even");
      }
      SysFreeString(text);
      info->AddRef();
      info->Release();
    }
  });
  writer.join();
  reader.join();
  info->Release();
  create->Release();
}

}  // namespace
