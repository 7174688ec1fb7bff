// The portable type information: names, member descriptions and Invoke, on
// small hand-written objects that implement generated interfaces.
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "frame/com_ptr.h"
#include "frame/posix/type_info.h"
#include "platform/unicode.h"
#include "vantrel_members.h"
#include "vantrel_stubs.h"

namespace vantrel::frame {
namespace {

constexpr HRESULT kPrinterNotInitialized = static_cast<HRESULT>(0x80042000);

std::u16string Text(BSTR text) { return text == nullptr ? u"" : std::u16string(text); }

VARIANT Long(LONG value) {
  VARIANT result;
  VariantInit(&result);
  V_VT(&result) = VT_I4;
  V_I4(&result) = value;
  return result;
}

VARIANT String(const char16_t* text) {
  VARIANT result;
  VariantInit(&result);
  V_VT(&result) = VT_BSTR;
  V_BSTR(&result) = SysAllocString(text);
  return result;
}

VARIANT Object(IDispatch* object) {
  VARIANT result;
  VariantInit(&result);
  V_VT(&result) = VT_DISPATCH;
  V_DISPATCH(&result) = object;
  if (object != nullptr) object->AddRef();
  return result;
}

// The arguments of one dispatch call as a client builds them: positional
// ones given first to last and stored last-first, named ones in front.
class DispatchArguments {
 public:
  DispatchArguments() = default;
  DispatchArguments(const DispatchArguments&) = delete;
  DispatchArguments& operator=(const DispatchArguments&) = delete;
  ~DispatchArguments() {
    for (VARIANT& value : positional_) VariantClear(&value);
    for (auto& [name, value] : named_) VariantClear(&value);
  }

  DispatchArguments& Add(VARIANT value) {
    positional_.push_back(value);
    return *this;
  }
  DispatchArguments& Named(DISPID name, VARIANT value) {
    named_.emplace_back(name, value);
    return *this;
  }

  DISPPARAMS* Get() {
    values_.clear();
    names_.clear();
    for (const auto& [name, value] : named_) {
      values_.push_back(value);
      names_.push_back(name);
    }
    values_.insert(values_.end(), positional_.rbegin(), positional_.rend());
    params_ = {values_.data(), names_.data(), static_cast<UINT>(values_.size()),
               static_cast<UINT>(names_.size())};
    return &params_;
  }

 private:
  std::vector<VARIANT> positional_;
  std::vector<std::pair<DISPID, VARIANT>> named_;
  std::vector<VARIANT> values_;
  std::vector<DISPID> names_;
  DISPPARAMS params_{};
};

// IUnknown and IDispatch for a fake living on the stack; members it does not
// implement answer E_NOTIMPL.
template <class Stubs, const IID& kIid>
class Fake : public Stubs {
 public:
  STDMETHODIMP QueryInterface(REFIID iid, void** out) override {
    if (IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IDispatch) || IsEqualIID(iid, kIid)) {
      *out = static_cast<Stubs*>(this);
      this->AddRef();
      return S_OK;
    }
    *out = nullptr;
    return E_NOINTERFACE;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
  STDMETHODIMP_(ULONG) Release() override { return --references_; }
  STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
  STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
  STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*,
                      UINT*) override {
    return E_NOTIMPL;
  }
  HRESULT Unimplemented(const char*) override { return E_NOTIMPL; }

  ULONG references() const { return references_; }

 private:
  std::atomic<ULONG> references_{1};
};

class FakeQueryCommand : public Fake<IQueryCommandStubs, IID_IQueryCommand> {
 public:
  STDMETHODIMP get_SendTimeout(LONG* value) override {
    *value = send_timeout;
    return S_OK;
  }
  STDMETHODIMP put_SendTimeout(LONG value) override {
    send_timeout = value;
    return S_OK;
  }
  LONG send_timeout = 0;
};

void SetClientError(const char16_t* source, const char16_t* description) {
  ICreateErrorInfo* create = nullptr;
  ASSERT_EQ(CreateErrorInfo(&create), S_OK);
  std::u16string source_text(source), description_text(description);
  create->SetSource(source_text.data());
  create->SetDescription(description_text.data());
  IErrorInfo* info = nullptr;
  ASSERT_EQ(create->QueryInterface(IID_IErrorInfo, reinterpret_cast<void**>(&info)), S_OK);
  SetErrorInfo(0, info);
  info->Release();
  create->Release();
}

class FakePrinter : public Fake<IPrinterStubs, IID_IPrinter> {
 public:
  STDMETHODIMP SendFile(BSTR file, BSTR job) override {
    file_name = Text(file);
    job_name = Text(job);
    return S_OK;
  }
  STDMETHODIMP Command(PrinterCommand command, VARIANT parameters) override {
    last_command = command;
    VariantCopy(&command_parameters, &parameters);
    return S_OK;
  }
  STDMETHODIMP get_Name(BSTR* name) override {
    SetClientError(u"Vantrel.Printer.1", u"Printer object not initialized");
    return kPrinterNotInitialized;
  }
  STDMETHODIMP get_ShareName(BSTR* name) override {
    *name = SysAllocString(u"share");
    return S_OK;
  }
  ~FakePrinter() { VariantClear(&command_parameters); }

  std::u16string file_name, job_name;
  int last_command = 0;
  VARIANT command_parameters{};
};

class FakePrinters : public Fake<IPrintersStubs, IID_IPrinters> {
 public:
  STDMETHODIMP get__NewEnum(IUnknown** out) override {
    AddRef();
    *out = static_cast<IPrinters*>(this);
    return S_OK;
  }
};

class FakePrintServer : public Fake<IPrintServerStubs, IID_IPrintServer> {
 public:
  STDMETHODIMP EnumeratePrinters(IPrinters* printers, VARIANT) override {
    received = printers;
    references_during_call = printers == nullptr ? 0 : printers->AddRef() - 1;
    if (printers != nullptr) printers->Release();
    return S_OK;
  }
  IPrinters* received = reinterpret_cast<IPrinters*>(1);
  ULONG references_during_call = 0;
};

ComPtr<ITypeInfo> TypeInfoOf(REFIID iid) {
  ComPtr<ITypeInfo> info;
  EXPECT_EQ(CreatePortableTypeInfo(iid, info.Receive()), S_OK);
  return info;
}

class InvokeTest : public ::testing::Test {
 protected:
  void SetUp() override { VariantInit(&result_); }
  void TearDown() override { VariantClear(&result_); }

  HRESULT Invoke(REFIID iid, void* instance, DISPID member, WORD flags,
                 DispatchArguments& arguments) {
    VariantClear(&result_);
    arg_error_ = 12345;
    return TypeInfoOf(iid)->Invoke(instance, member, flags, arguments.Get(), &result_, nullptr,
                                   &arg_error_);
  }

  VARIANT result_;
  UINT arg_error_ = 12345;
};

TEST(PortableTypeInfoTest, IsOneObjectPerInterfaceAndKnowsOnlyTheLibrarysInterfaces) {
  ComPtr<ITypeInfo> first = TypeInfoOf(IID_IPrinter);
  ComPtr<ITypeInfo> second = TypeInfoOf(IID_IPrinter);
  EXPECT_EQ(first.Get(), second.Get());
  EXPECT_NE(TypeInfoOf(DIID__IPrinterEvents).Get(), nullptr);

  ITypeInfo* missing = reinterpret_cast<ITypeInfo*>(1);
  EXPECT_EQ(CreatePortableTypeInfo(IID_IDispatch, &missing), TYPE_E_ELEMENTNOTFOUND);
  EXPECT_EQ(missing, nullptr);
  EXPECT_EQ(CreatePortableTypeInfo(IID_IPrinter, nullptr), E_POINTER);
}

TEST(PortableTypeInfoTest, ResolvesNamesIgnoringCaseAndParameterNamesToPositions) {
  ComPtr<ITypeInfo> info = TypeInfoOf(IID_IPrinter);
  std::u16string send_file = u"sENDfILE", job = u"ARGJOBNAME", file = u"argFileName";
  LPOLESTR call[] = {send_file.data(), job.data(), file.data()};
  DISPID ids[3] = {};
  ASSERT_EQ(info->GetIDsOfNames(call, 3, ids), S_OK);
  EXPECT_EQ(ids[0], 11);
  EXPECT_EQ(ids[1], 1);
  EXPECT_EQ(ids[2], 0);

  // A setter's parameter is found through the getter's name.
  std::u16string share = u"ShareName", value = u"argShareName";
  LPOLESTR put[] = {share.data(), value.data()};
  ASSERT_EQ(info->GetIDsOfNames(put, 2, ids), S_OK);
  EXPECT_EQ(ids[0], 103);
  EXPECT_EQ(ids[1], 0);

  std::u16string unknown = u"argNothing";
  LPOLESTR bad_parameter[] = {send_file.data(), unknown.data()};
  EXPECT_EQ(info->GetIDsOfNames(bad_parameter, 2, ids), DISP_E_UNKNOWNNAME);
  EXPECT_EQ(ids[0], 11);
  EXPECT_EQ(ids[1], DISPID_UNKNOWN);

  std::u16string nothing = u"Nothing";
  LPOLESTR bad_member[] = {nothing.data(), job.data()};
  ids[0] = ids[1] = 7;
  EXPECT_EQ(info->GetIDsOfNames(bad_member, 2, ids), DISP_E_UNKNOWNNAME);
  EXPECT_EQ(ids[0], DISPID_UNKNOWN);
  EXPECT_EQ(ids[1], DISPID_UNKNOWN);
}

TEST(PortableTypeInfoTest, DescribesADualInterfaceAsItsDispatchView) {
  ComPtr<ITypeInfo> info = TypeInfoOf(IID_IPrinter);
  const idl::Interface* iface = idl::FindInterface(IID_IPrinter);
  ASSERT_NE(iface, nullptr);

  TYPEATTR* attr = nullptr;
  ASSERT_EQ(info->GetTypeAttr(&attr), S_OK);
  EXPECT_TRUE(IsEqualGUID(attr->guid, IID_IPrinter));
  EXPECT_EQ(attr->typekind, TKIND_DISPATCH);
  EXPECT_EQ(attr->wTypeFlags, TYPEFLAG_FDUAL | TYPEFLAG_FDISPATCHABLE);
  EXPECT_EQ(attr->cFuncs, iface->members.size());
  info->ReleaseTypeAttr(attr);

  // Command(argPrinterCommand, [optional] argCommandParameters), second member.
  FUNCDESC* command = nullptr;
  ASSERT_EQ(info->GetFuncDesc(2, &command), S_OK);
  EXPECT_EQ(command->memid, 12);
  EXPECT_EQ(command->funckind, FUNC_DISPATCH);
  EXPECT_EQ(command->invkind, INVOKE_FUNC);
  EXPECT_EQ(command->elemdescFunc.tdesc.vt, VT_VOID);
  ASSERT_EQ(command->cParams, 2);
  EXPECT_EQ(command->cParamsOpt, 1);
  EXPECT_EQ(command->oVft, 9 * static_cast<SHORT>(sizeof(void*)));
  EXPECT_EQ(command->lprgelemdescParam[0].tdesc.vt, VT_I4);
  EXPECT_EQ(command->lprgelemdescParam[0].paramdesc.wParamFlags, PARAMFLAG_FIN);
  EXPECT_EQ(command->lprgelemdescParam[1].tdesc.vt, VT_VARIANT);
  EXPECT_EQ(command->lprgelemdescParam[1].paramdesc.wParamFlags, PARAMFLAG_FIN | PARAMFLAG_FOPT);
  info->ReleaseFuncDesc(command);

  // A getter's retval becomes the function's type.
  FUNCDESC* name = nullptr;
  ASSERT_EQ(info->GetFuncDesc(3, &name), S_OK);
  EXPECT_EQ(name->invkind, INVOKE_PROPERTYGET);
  EXPECT_EQ(name->cParams, 0);
  EXPECT_EQ(name->elemdescFunc.tdesc.vt, VT_BSTR);
  info->ReleaseFuncDesc(name);
  EXPECT_EQ(info->GetFuncDesc(static_cast<UINT>(iface->members.size()), &name),
            TYPE_E_ELEMENTNOTFOUND);

  BSTR names[3] = {};
  UINT count = 0;
  ASSERT_EQ(info->GetNames(12, names, 2, &count), S_OK);
  ASSERT_EQ(count, 2u);
  EXPECT_EQ(Text(names[0]), u"Command");
  EXPECT_EQ(Text(names[1]), u"argPrinterCommand");
  for (UINT i = 0; i < count; ++i) SysFreeString(names[i]);
  EXPECT_EQ(info->GetNames(4242, names, 3, &count), TYPE_E_ELEMENTNOTFOUND);

  BSTR title = nullptr, help = nullptr;
  ASSERT_EQ(info->GetDocumentation(MEMBERID_NIL, &title, &help, nullptr, nullptr), S_OK);
  EXPECT_EQ(Text(title), u"IPrinter");
  EXPECT_EQ(Text(help), platform::Utf8ToUtf16(iface->help));
  SysFreeString(title);
  SysFreeString(help);
  ASSERT_EQ(info->GetDocumentation(11, &title, nullptr, nullptr, nullptr), S_OK);
  EXPECT_EQ(Text(title), u"SendFile");
  SysFreeString(title);
}

TEST(PortableTypeInfoTest, DescribesRestrictedMembersAndEventInterfaces) {
  FUNCDESC* desc = nullptr;
  ComPtr<ITypeInfo> printers = TypeInfoOf(IID_IPrinters);
  ASSERT_EQ(printers->GetFuncDesc(0, &desc), S_OK);
  EXPECT_EQ(desc->memid, DISPID_NEWENUM);
  EXPECT_EQ(desc->wFuncFlags, FUNCFLAG_FRESTRICTED);
  EXPECT_EQ(desc->elemdescFunc.tdesc.vt, VT_UNKNOWN);
  printers->ReleaseFuncDesc(desc);

  ComPtr<ITypeInfo> events = TypeInfoOf(DIID__IPrinterEvents);
  TYPEATTR* attr = nullptr;
  ASSERT_EQ(events->GetTypeAttr(&attr), S_OK);
  EXPECT_EQ(attr->wTypeFlags, TYPEFLAG_FDISPATCHABLE);
  events->ReleaseTypeAttr(attr);
  ASSERT_EQ(events->GetFuncDesc(0, &desc), S_OK);  // OnPrinterNameChanged
  EXPECT_EQ(desc->elemdescFunc.tdesc.vt, VT_HRESULT);
  ASSERT_EQ(desc->cParams, 3);
  EXPECT_EQ(desc->lprgelemdescParam[0].tdesc.vt, VT_DISPATCH);
  EXPECT_EQ(desc->lprgelemdescParam[1].tdesc.vt, VT_BSTR);
  events->ReleaseFuncDesc(desc);
}

TEST_F(InvokeTest, PropertiesAreReadAndWrittenWithCoercion) {
  FakeQueryCommand command;
  void* self = static_cast<IQueryCommand*>(&command);

  DispatchArguments put;
  put.Named(DISPID_PROPERTYPUT, String(u"5"));
  ASSERT_EQ(Invoke(IID_IQueryCommand, self, 0x68, DISPATCH_PROPERTYPUT, put), S_OK);
  EXPECT_EQ(command.send_timeout, 5);

  // As VBScript reads `o.SendTimeout`.
  DispatchArguments none;
  ASSERT_EQ(Invoke(IID_IQueryCommand, self, 0x68, DISPATCH_METHOD | DISPATCH_PROPERTYGET, none),
            S_OK);
  EXPECT_EQ(V_VT(&result_), VT_I4);
  EXPECT_EQ(V_I4(&result_), 5);

  LONG referenced = 9;
  VARIANT by_reference;
  V_VT(&by_reference) = VT_BYREF | VT_I4;
  V_I4REF(&by_reference) = &referenced;
  DispatchArguments put_reference;
  put_reference.Named(DISPID_PROPERTYPUT, by_reference);
  ASSERT_EQ(Invoke(IID_IQueryCommand, self, 0x68, DISPATCH_PROPERTYPUT, put_reference), S_OK);
  EXPECT_EQ(command.send_timeout, 9);

  DispatchArguments wrong;
  wrong.Named(DISPID_PROPERTYPUT, String(u"five"));
  EXPECT_EQ(Invoke(IID_IQueryCommand, self, 0x68, DISPATCH_PROPERTYPUT, wrong),
            DISP_E_TYPEMISMATCH);
  EXPECT_EQ(arg_error_, 0u);
  EXPECT_EQ(command.send_timeout, 9);

  // No getter for a put, no member for an unknown DISPID.
  EXPECT_EQ(Invoke(IID_IQueryCommand, self, 4242, DISPATCH_PROPERTYGET, none),
            DISP_E_MEMBERNOTFOUND);
  FakePrinter printer;
  DispatchArguments name;
  name.Named(DISPID_PROPERTYPUT, String(u"x"));
  EXPECT_EQ(Invoke(IID_IPrinter, static_cast<IPrinter*>(&printer), 101, DISPATCH_PROPERTYPUT, name),
            DISP_E_MEMBERNOTFOUND);
}

TEST_F(InvokeTest, ArgumentsBindByPositionOrByName) {
  FakePrinter printer;
  void* self = static_cast<IPrinter*>(&printer);

  DispatchArguments positional;
  positional.Add(String(u"label.prn")).Add(String(u"Labels"));
  ASSERT_EQ(Invoke(IID_IPrinter, self, 11, DISPATCH_METHOD, positional), S_OK);
  EXPECT_EQ(printer.file_name, u"label.prn");
  EXPECT_EQ(printer.job_name, u"Labels");
  EXPECT_EQ(V_VT(&result_), VT_EMPTY);

  DispatchArguments named;
  named.Named(1, String(u"Named job")).Named(0, String(u"named.prn"));
  ASSERT_EQ(Invoke(IID_IPrinter, self, 11, DISPATCH_METHOD, named), S_OK);
  EXPECT_EQ(printer.file_name, u"named.prn");
  EXPECT_EQ(printer.job_name, u"Named job");

  DispatchArguments mixed;
  mixed.Add(String(u"first.prn")).Named(1, String(u"Mixed"));
  ASSERT_EQ(Invoke(IID_IPrinter, self, 11, DISPATCH_METHOD, mixed), S_OK);
  EXPECT_EQ(printer.file_name, u"first.prn");
  EXPECT_EQ(printer.job_name, u"Mixed");

  DispatchArguments too_many;
  too_many.Add(String(u"a")).Add(String(u"b")).Add(String(u"c"));
  EXPECT_EQ(Invoke(IID_IPrinter, self, 11, DISPATCH_METHOD, too_many), DISP_E_BADPARAMCOUNT);

  DispatchArguments too_few;
  too_few.Add(String(u"a"));
  EXPECT_EQ(Invoke(IID_IPrinter, self, 11, DISPATCH_METHOD, too_few), DISP_E_PARAMNOTOPTIONAL);

  DispatchArguments no_such_parameter;
  no_such_parameter.Add(String(u"a")).Named(5, String(u"b"));
  EXPECT_EQ(Invoke(IID_IPrinter, self, 11, DISPATCH_METHOD, no_such_parameter),
            DISP_E_PARAMNOTFOUND);
  EXPECT_EQ(arg_error_, 0u);
}

TEST_F(InvokeTest, OptionalArgumentsAndEnumerationsArriveAsTheMemberExpects) {
  FakePrinter printer;
  void* self = static_cast<IPrinter*>(&printer);

  DispatchArguments missing_optional;
  missing_optional.Add(Long(PC_Cut));
  ASSERT_EQ(Invoke(IID_IPrinter, self, 12, DISPATCH_METHOD, missing_optional), S_OK);
  EXPECT_EQ(printer.last_command, PC_Cut);
  EXPECT_EQ(V_VT(&printer.command_parameters), VT_ERROR);
  EXPECT_EQ(V_ERROR(&printer.command_parameters), DISP_E_PARAMNOTFOUND);

  // The VARIANT parameter takes the value unconverted.
  DispatchArguments both;
  both.Add(String(u"4")).Add(Long(77));
  ASSERT_EQ(Invoke(IID_IPrinter, self, 12, DISPATCH_METHOD, both), S_OK);
  EXPECT_EQ(printer.last_command, PC_Feed);
  EXPECT_EQ(V_VT(&printer.command_parameters), VT_I4);
  EXPECT_EQ(V_I4(&printer.command_parameters), 77);

  // The failing argument is reported by its index in rgvarg (last-first).
  DispatchArguments bad_first;
  bad_first.Add(String(u"cut")).Add(Long(1));
  EXPECT_EQ(Invoke(IID_IPrinter, self, 12, DISPATCH_METHOD, bad_first), DISP_E_TYPEMISMATCH);
  EXPECT_EQ(arg_error_, 1u);
}

TEST_F(InvokeTest, AFailedMemberReportsTheThreadsErrorInformation) {
  FakePrinter printer;
  void* self = static_cast<IPrinter*>(&printer);
  ComPtr<ITypeInfo> info = TypeInfoOf(IID_IPrinter);
  DispatchArguments none;

  EXCEPINFO exception;
  std::memset(&exception, 0xAB, sizeof exception);
  ASSERT_EQ(
      info->Invoke(self, 101, DISPATCH_PROPERTYGET, none.Get(), &result_, &exception, nullptr),
      DISP_E_EXCEPTION);
  EXPECT_EQ(exception.scode, kPrinterNotInitialized);
  EXPECT_EQ(Text(exception.bstrSource), u"Vantrel.Printer.1");
  EXPECT_EQ(Text(exception.bstrDescription), u"Printer object not initialized");
  EXPECT_EQ(exception.bstrHelpFile, nullptr);
  EXPECT_EQ(V_VT(&result_), VT_EMPTY);
  SysFreeString(exception.bstrSource);
  SysFreeString(exception.bstrDescription);
  // Handed over: the thread has no error information left.
  IErrorInfo* left = nullptr;
  EXPECT_EQ(GetErrorInfo(0, &left), S_FALSE);

  // Without an EXCEPINFO the failure comes back as it is.
  EXPECT_EQ(info->Invoke(self, 101, DISPATCH_PROPERTYGET, none.Get(), &result_, nullptr, nullptr),
            kPrinterNotInitialized);
  ASSERT_EQ(GetErrorInfo(0, &left), S_OK);
  left->Release();
}

TEST_F(InvokeTest, ResultsAreOptionalAndEnumeratorsAnswerAMethodCall) {
  FakePrinter printer;
  DispatchArguments none;
  ComPtr<ITypeInfo> info = TypeInfoOf(IID_IPrinter);
  // With no result VARIANT the string is freed (the sanitizer build checks).
  EXPECT_EQ(info->Invoke(static_cast<IPrinter*>(&printer), 103, DISPATCH_PROPERTYGET, none.Get(),
                         nullptr, nullptr, nullptr),
            S_OK);

  FakePrinters printers;
  ASSERT_EQ(Invoke(IID_IPrinters, static_cast<IPrinters*>(&printers), DISPID_NEWENUM,
                   DISPATCH_METHOD, none),
            S_OK);
  ASSERT_EQ(V_VT(&result_), VT_UNKNOWN);
  EXPECT_EQ(V_UNKNOWN(&result_), static_cast<IPrinters*>(&printers));
  VariantClear(&result_);
  EXPECT_EQ(printers.references(), 1u);
}

TEST_F(InvokeTest, InterfaceArgumentsAreAskedForTheParametersInterface) {
  FakePrintServer server;
  void* self = static_cast<IPrintServer*>(&server);
  FakePrinters printers;

  DispatchArguments collection;
  collection.Add(Object(static_cast<IPrinters*>(&printers)));
  ASSERT_EQ(Invoke(IID_IPrintServer, self, 11, DISPATCH_METHOD, collection), S_OK);
  EXPECT_EQ(server.received, static_cast<IPrinters*>(&printers));
  // Its own, the argument's and the one the call took for the member.
  EXPECT_EQ(server.references_during_call, 3u);
  EXPECT_EQ(printers.references(), 2u);  // the one the call took is given back

  DispatchArguments nothing;
  nothing.Add(Object(nullptr));
  ASSERT_EQ(Invoke(IID_IPrintServer, self, 11, DISPATCH_METHOD, nothing), S_OK);
  EXPECT_EQ(server.received, nullptr);

  FakePrinter not_a_collection;
  DispatchArguments wrong;
  wrong.Add(Object(static_cast<IPrinter*>(&not_a_collection))).Add(Long(1));
  EXPECT_EQ(Invoke(IID_IPrintServer, self, 11, DISPATCH_METHOD, wrong), DISP_E_TYPEMISMATCH);
  EXPECT_EQ(arg_error_, 1u);
}

}  // namespace
}  // namespace vantrel::frame
