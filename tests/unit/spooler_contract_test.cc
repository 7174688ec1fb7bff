// The spooler contract over the in-memory fake, on both targets.
#include "fakes/fake_spooler.h"
#include "unit/spooler_contract.h"

namespace vantrel::testing {
namespace {

struct FakeSpoolerBackend {
  FakeSpoolerBackend() { fake.AddPort(OtherPort()); }
  platform::Spooler& spooler() { return fake; }
  void AddQueue(const std::string& name, const std::string& port, const std::string& comment,
                const std::string& location) {
    fake.AddPrinter(name, port, comment, location);
  }
  static std::string OtherPort() { return "socket://127.0.0.1:9"; }
  bool ready(std::string*) { return true; }
  FakeSpooler fake;
};

}  // namespace

INSTANTIATE_TYPED_TEST_SUITE_P(Fake, SpoolerContractTest, FakeSpoolerBackend);

}  // namespace vantrel::testing
