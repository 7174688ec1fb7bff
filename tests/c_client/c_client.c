/* A client that knows nothing of the library but the COM binary layout: it
 * loads the shared library by path, asks DllGetClassObject for each class's
 * factory, creates and releases one object of every class, and checks the
 * failures a client relies on. Prints one line per failed check and exits
 * with the number of failures. usage: c_client LIBRARY */
#include <dlfcn.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>

typedef int32_t HRESULT;
typedef struct {
  uint32_t data1;
  uint16_t data2, data3;
  uint8_t data4[8];
} GUID;

/* IUnknown, IClassFactory and IDispatch as a C client declares them. */
typedef struct Unknown Unknown;
typedef struct {
  HRESULT (*QueryInterface)(Unknown*, const GUID*, void**);
  uint32_t (*AddRef)(Unknown*);
  uint32_t (*Release)(Unknown*);
} UnknownVtbl;
struct Unknown {
  const UnknownVtbl* vtbl;
};

typedef struct ClassFactory ClassFactory;
typedef struct {
  HRESULT (*QueryInterface)(ClassFactory*, const GUID*, void**);
  uint32_t (*AddRef)(ClassFactory*);
  uint32_t (*Release)(ClassFactory*);
  HRESULT (*CreateInstance)(ClassFactory*, Unknown*, const GUID*, void**);
  HRESULT (*LockServer)(ClassFactory*, int);
} ClassFactoryVtbl;
struct ClassFactory {
  const ClassFactoryVtbl* vtbl;
};

typedef struct Dispatch Dispatch;
typedef struct {
  HRESULT (*QueryInterface)(Dispatch*, const GUID*, void**);
  uint32_t (*AddRef)(Dispatch*);
  uint32_t (*Release)(Dispatch*);
  HRESULT (*GetTypeInfoCount)(Dispatch*, unsigned*);
  HRESULT (*GetTypeInfo)(Dispatch*, unsigned, uint32_t, void**);
} DispatchVtbl;
struct Dispatch {
  const DispatchVtbl* vtbl;
};

typedef HRESULT (*GetClassObjectFn)(const GUID*, const GUID*, void**);
typedef HRESULT (*CanUnloadNowFn)(void);

static const GUID kUnknown = {0x00000000, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
static const GUID kClassFactory = {0x00000001, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
static const GUID kDispatch = {0x00020400, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

static const struct {
  const char* name;
  GUID clsid;
} kClasses[] = {
    {"CommandParameters",
     {0x9B063C3E, 0x1FDF, 0x46AD, {0x96, 0x7B, 0xFB, 0x08, 0xE7, 0x45, 0x14, 0x78}}},
    {"PrinterPort", {0x24289DC4, 0x2D4C, 0x4CC8, {0xAC, 0x1A, 0xE1, 0x47, 0x49, 0x5D, 0x62, 0x80}}},
    {"PrinterConfiguration",
     {0x002821B4, 0x6D4E, 0x49CC, {0xBB, 0xF0, 0xED, 0xED, 0x50, 0x45, 0x8D, 0x16}}},
    {"PrintQueue", {0x8295042E, 0xFAD1, 0x4909, {0xB5, 0x43, 0xCB, 0x47, 0x3D, 0x3B, 0x99, 0xD6}}},
    {"PrintJobSchedule",
     {0xA429F454, 0x3B58, 0x4EBC, {0xAD, 0xE5, 0xF9, 0xAA, 0x70, 0xE9, 0xFF, 0x67}}},
    {"PrintJobs", {0x9F804CB7, 0xA2BE, 0x4E21, {0x8D, 0x5A, 0xEE, 0x91, 0xF3, 0x60, 0xF9, 0xCF}}},
    {"PrinterStatus",
     {0x7C47743B, 0x1DDC, 0x4ACC, {0x9E, 0x98, 0x97, 0xEF, 0x17, 0xDD, 0x26, 0x39}}},
    {"Kesto", {0xEAC071C3, 0x2CC4, 0x4201, {0x9B, 0x5D, 0x76, 0xE2, 0x09, 0x67, 0x3C, 0x10}}},
    {"ImmediateCommand",
     {0xB0849027, 0x4F29, 0x4956, {0x86, 0xB9, 0xFB, 0xB6, 0x73, 0x5A, 0xAF, 0x8F}}},
    {"Printer", {0x9A95CD89, 0x0B17, 0x4598, {0xBE, 0x2E, 0x66, 0xF0, 0xDF, 0x4F, 0x30, 0x7F}}},
    {"PrinterConfigurationFilter",
     {0x14C04647, 0xAF9E, 0x429A, {0x92, 0x72, 0xF6, 0x81, 0x97, 0x4E, 0x7E, 0x69}}},
    {"QueryResponse",
     {0xFBB3CD2F, 0xB912, 0x4E43, {0xB0, 0xC1, 0x13, 0xC2, 0xFC, 0x8D, 0x6E, 0x2C}}},
    {"Printers", {0x2B65002B, 0xB379, 0x4DFB, {0xB2, 0x20, 0x8C, 0x58, 0x08, 0x39, 0x20, 0x84}}},
    {"PrintersFilter",
     {0x7B83BC14, 0x4A44, 0x4B07, {0xA1, 0xAD, 0xBC, 0xAC, 0x5D, 0xD0, 0x7F, 0x0B}}},
    {"PrintJob", {0xA836399F, 0x3222, 0x48B7, {0x88, 0x60, 0x5F, 0x38, 0x83, 0xD2, 0x34, 0x57}}},
    {"PrintJobStatus",
     {0x440744D3, 0x4660, 0x429F, {0xB5, 0x05, 0x36, 0xAE, 0x9E, 0x11, 0xC8, 0x9D}}},
    {"PrintJobsFilter",
     {0x57DA7070, 0xF287, 0x4F3B, {0x82, 0xAA, 0x78, 0xCE, 0x3F, 0x2C, 0xFF, 0x07}}},
    {"PrintServer", {0x2F258A8B, 0x5D84, 0x4101, {0xB1, 0x5E, 0xA5, 0x2E, 0xC1, 0xAA, 0x84, 0xC3}}},
    {"QueryCommand",
     {0xC6C1BA13, 0x9B23, 0x4763, {0x9C, 0x3B, 0x3A, 0xBB, 0xED, 0xF6, 0x3A, 0x17}}},
};

static int failures = 0;

static void Expect(int ok, const char* what, const char* name, HRESULT hr) {
  if (ok) return;
  ++failures;
  printf("FAILED: %s %s (0x%08X)\n", what, name, (unsigned)hr);
}

/* Creates one object through the class factory, checks IDispatch's type
 * information bounds, and releases everything. */
static void CreateOne(GetClassObjectFn get_class_object, const char* name, const GUID* clsid) {
  ClassFactory* factory = NULL;
  HRESULT hr = get_class_object(clsid, &kClassFactory, (void**)&factory);
  Expect(hr == 0 && factory != NULL, "DllGetClassObject", name, hr);
  if (factory == NULL) return;
  Unknown* object = NULL;
  hr = factory->vtbl->CreateInstance(factory, NULL, &kUnknown, (void**)&object);
  Expect(hr == 0 && object != NULL, "CreateInstance", name, hr);
  if (object != NULL) {
    Dispatch* dispatch = NULL;
    hr = object->vtbl->QueryInterface(object, &kDispatch, (void**)&dispatch);
    Expect(hr == 0 && dispatch != NULL, "QueryInterface(IDispatch)", name, hr);
    if (dispatch != NULL) {
      void* info = (void*)1;
      hr = dispatch->vtbl->GetTypeInfo(dispatch, 1, 0, &info);
      Expect(hr == (HRESULT)0x8002000B && info == NULL, "GetTypeInfo(1)", name, hr);
      dispatch->vtbl->Release(dispatch);
    }
    object->vtbl->Release(object);
  }
  factory->vtbl->Release(factory);
}

int main(int argc, char** argv) {
  if (argc != 2) {
    fprintf(stderr, "usage: c_client LIBRARY\n");
    return 100;
  }
  void* library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
  if (library == NULL) {
    printf("FAILED: dlopen %s\n", dlerror());
    return 100;
  }
  GetClassObjectFn get_class_object = (GetClassObjectFn)dlsym(library, "DllGetClassObject");
  CanUnloadNowFn can_unload_now = (CanUnloadNowFn)dlsym(library, "DllCanUnloadNow");
  if (get_class_object == NULL || can_unload_now == NULL) {
    printf("FAILED: entry points missing\n");
    return 100;
  }
  for (size_t i = 0; i < sizeof kClasses / sizeof kClasses[0]; ++i)
    CreateOne(get_class_object, kClasses[i].name, &kClasses[i].clsid);

  const GUID unknown_class = {0x12345678, 0x1234, 0x1234, {1, 2, 3, 4, 5, 6, 7, 8}};
  void* out = (void*)1;
  HRESULT hr = get_class_object(&unknown_class, &kClassFactory, &out);
  Expect(hr == (HRESULT)0x80040111 && out == NULL, "DllGetClassObject", "unknown CLSID", hr);
  hr = can_unload_now();
  Expect(hr == 0, "DllCanUnloadNow", "after releasing everything", hr);

  printf("%d classes created, %d failures\n", (int)(sizeof kClasses / sizeof kClasses[0]),
         failures);
  /* The library stays loaded until exit, as it does in most clients; unloading
   * it here would only show the sanitizers' own runtime losing its tables. */
  return failures;
}
