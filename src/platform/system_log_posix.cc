#include "platform/system_log.h"
#include "platform/thread_annotations.h"

#include <syslog.h>

#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <set>
#include <string>

namespace vantrel::platform {
namespace {

// syslog keeps one identity per process and only a pointer to its text, so
// every identity used stays here until exit, and switching happens under this lock.
Mutex identity_mutex;
std::set<std::string>* identities GUARDED_BY(identity_mutex) = new std::set<std::string>();
const std::string* current_identity GUARDED_BY(identity_mutex) = nullptr;

int PriorityOf(SystemLogType type) {
  switch (type) {
    case SystemLogType::kError:
      return LOG_ERR;
    case SystemLogType::kWarning:
      return LOG_WARNING;
    case SystemLogType::kInformation:
      return LOG_INFO;
    case SystemLogType::kDetail:
      return LOG_DEBUG;
  }
  return LOG_INFO;
}

class Syslog : public SystemLog {
 public:
  explicit Syslog(std::string source) : source_(std::move(source)) {}

  void Write(SystemLogType type, std::string_view message) override {
    MutexLock hold(identity_mutex);
    const std::string* identity = &*identities->insert(source_).first;
    if (identity != current_identity) {
      openlog(identity->c_str(), LOG_PID, LOG_USER);
      current_identity = identity;
    }
    syslog(PriorityOf(type), "%.*s", static_cast<int>(message.size()), message.data());
  }

 private:
  const std::string source_;
};

}  // namespace

std::unique_ptr<SystemLog> OpenSystemLog(const std::string& source) {
  return std::make_unique<Syslog>(source);
}

void DebugOutput(std::string_view text) {
  // Read at each call (debug lines are rare), so that switching it on in a
  // running process takes effect.
  if (std::getenv("VANTREL_DEBUG_OUTPUT") == nullptr) return;
  // One call per text keeps the lines of concurrent writers apart.
  std::string line(text);
  if (line.empty() || line.back() != '\n') line += '\n';
  std::fwrite(line.data(), 1, line.size(), stderr);
}

}  // namespace vantrel::platform
