#include "driver/tcp_socket_manager.h"

#include <algorithm>
#include <cstdio>

#include "platform/clock.h"
#include "platform/native_thread.h"
#include "support/event_log.h"

namespace vantrel {

namespace {

long ConnectWithAttempts(std::string_view host, uint32_t port, uint32_t timeout_ms,
                         uint32_t attempts, platform::SocketHandle* socket) {
  long error = platform::kWsaInvalidArgument;
  if (port == 0 || port > 0xFFFF) return error;
  for (uint32_t attempt = 0; attempt < std::max<uint32_t>(attempts, 1); ++attempt) {
    error = platform::ConnectSocket(host, static_cast<uint16_t>(port), timeout_ms, socket);
    if (error == 0 || error == platform::kWsaHostNotFound) break;
  }
  return error;
}

std::string Hex(uint64_t value) {
  char text[24];
  std::snprintf(text, sizeof(text), "%llX", static_cast<unsigned long long>(value));
  return text;
}

}  // namespace

TCPSocketManagerHooks TCPSocketManagerHooks::Platform() {
  TCPSocketManagerHooks hooks;
  hooks.now = [] { return platform::TickCount64(); };
  hooks.thread_id = [] { return platform::CurrentThreadId(); };
  hooks.connect = ConnectWithAttempts;
  hooks.is_alive = [](platform::SocketHandle socket) { return platform::IsSocketAlive(socket); };
  hooks.log = [](uint32_t level, const std::string& line) {
    static OEventLogBase* log = [] {
      auto* created =
          new OEventLogBase(TCPSocketManager::kLogName);  // lives as long as the process
      created->LoadMask();
      return created;
    }();
    log->Write(level, line);
  };
  return hooks;
}

TCPSocketEntry::TCPSocketEntry(uint32_t id, std::string host, uint32_t port, uint64_t owner_thread,
                               uint32_t retries)
    : id_(id),
      host_(std::move(host)),
      port_(port),
      owner_thread_(owner_thread),
      retries_(retries) {}

TCPSocketEntry::~TCPSocketEntry() { platform::CloseSocket(socket_); }

std::string TCPSocketEntry::IdText() const { return "0x" + Hex(id_); }

std::shared_ptr<TCPSocketManager> TCPSocketManager::Create(TCPSocketManagerHooks hooks) {
  return std::shared_ptr<TCPSocketManager>(new TCPSocketManager(std::move(hooks)));
}

std::shared_ptr<TCPSocketManager> TCPSocketManager::Process() {
  static const std::shared_ptr<TCPSocketManager> manager = Create();
  return manager;
}

TCPSocketManager::TCPSocketManager(TCPSocketManagerHooks hooks) : hooks_(std::move(hooks)) {}

TCPSocketManager::~TCPSocketManager() {
  // The closer holds only a weak reference; ask it to end and let it finish
  // by itself (this may run on the closer's own thread).
  if (closer_) closer_->Stop();
}

void TCPSocketManager::Log(uint32_t level, const std::string& line) const {
  if (hooks_.log) hooks_.log(level, line);
}

void TCPSocketManager::Obtain() {
  int count;
  {
    MutexLock hold(mutex_);
    count = ++use_count_;
  }
  Log(kLogDetailInfo, "Obtain Count:" + std::to_string(count));
  StartCloserIfStopped();
}

void TCPSocketManager::Release() {
  int count;
  {
    MutexLock hold(mutex_);
    count = use_count_ > 0 ? --use_count_ : 0;
  }
  Log(kLogDetailInfo, "Count:" + std::to_string(count));
}

std::shared_ptr<TCPSocketEntry> TCPSocketManager::TakeOwnEntry(std::string_view host,
                                                               uint32_t port) {
  const uint64_t thread = hooks_.thread_id();
  MutexLock hold(mutex_);
  for (const auto& entry : entries_) {
    if (entry->owner_thread_ == thread && entry->port_ == port && entry->host_ == host) {
      if (entry->idle_) {
        idle_.remove(entry);
        entry->idle_ = false;
      }
      return entry;
    }
  }
  return nullptr;
}

std::shared_ptr<TCPSocketEntry> TCPSocketManager::GetSocketEntry(std::string_view host,
                                                                 uint32_t port, uint32_t retries,
                                                                 uint32_t timeout_ms, long* error,
                                                                 bool* reused) {
  *error = 0;
  if (reused != nullptr) *reused = false;
  // Callers expect a failure value, never an exception: whatever escapes
  // (memory, a hook) is logged and becomes a failed connection.
  try {
    return GetOrCreateEntry(host, port, retries, timeout_ms, error, reused);
  } catch (...) {
    Log(kLogErrors, "General Exception occurred. ");
  }
  if (reused != nullptr) *reused = false;
  if (*error == 0) *error = platform::kWsaNotConnected;
  return nullptr;
}

std::shared_ptr<TCPSocketEntry> TCPSocketManager::GetOrCreateEntry(std::string_view host,
                                                                   uint32_t port, uint32_t retries,
                                                                   uint32_t timeout_ms, long* error,
                                                                   bool* reused) {
  if (auto entry = TakeOwnEntry(host, port)) {
    // The probe runs outside the lock: the entry belongs to this thread now.
    if (hooks_.is_alive(entry->socket())) {
      uint32_t count;
      {
        MutexLock hold(mutex_);
        count = ++entry->reuse_count_;
      }
      Log(kLogDetailInfo, "TCPSocketManager: Entry Re-Used. Id: " + entry->IdText() +
                              ", Host:" + entry->host() + ", Port: " + std::to_string(port) +
                              ", Retries: " + std::to_string(retries) +
                              ", ReUse Count:" + std::to_string(count));
      if (reused != nullptr) *reused = true;
      return entry;
    }
    Log(kLogDetailInfo, "TCPSocketManager: IsSocketAlive returns false.");
    MutexLock hold(mutex_);
    RemoveLocked(entry);
  }
  return CreateEntry(host, port, retries, timeout_ms, error);
}

std::shared_ptr<TCPSocketEntry> TCPSocketManager::CreateEntry(std::string_view host, uint32_t port,
                                                              uint32_t retries, uint32_t timeout_ms,
                                                              long* error) {
  uint32_t id;
  {
    MutexLock hold(mutex_);
    id = next_id_++;
  }
  auto entry =
      std::make_shared<TCPSocketEntry>(id, std::string(host), port, hooks_.thread_id(), retries);
  platform::SocketHandle socket = platform::kInvalidSocket;
  *error = hooks_.connect(host, port, timeout_ms, retries + 1, &socket);
  if (*error != 0) {
    Log(kLogErrors, "SocketException occurred. " + platform::SocketErrorText(*error));
    return nullptr;
  }
  entry->set_socket(socket);
  {
    MutexLock hold(mutex_);
    entries_.push_back(entry);
  }
  Log(kLogDetailInfo, "Created new Entry. Id: " + entry->IdText() + ", Host:" + entry->host() +
                          ", Port: " + std::to_string(port) +
                          ", Retries: " + std::to_string(retries));
  return entry;
}

void TCPSocketManager::MoveToIdle(const std::shared_ptr<TCPSocketEntry>& entry) {
  {
    MutexLock hold(mutex_);
    if (entry->idle_) return;
    entry->expiry_ = hooks_.now() + kIdleLifetimeMs;
    entry->idle_ = true;
    // Each new expiry is the latest unless the clock was moved back (tests).
    auto at = idle_.end();
    while (at != idle_.begin() && (*std::prev(at))->expiry_ > entry->expiry_) --at;
    idle_.insert(at, entry);
  }
  StartCloserIfStopped();
}

void TCPSocketManager::DestroySocketEntry(const std::shared_ptr<TCPSocketEntry>& entry) {
  Log(kLogDetailInfo, "Entry being deleted due to DestroySocketEntry call. Id: " + entry->IdText());
  MutexLock hold(mutex_);
  RemoveLocked(entry);
}

void TCPSocketManager::RemoveLocked(const std::shared_ptr<TCPSocketEntry>& entry) {
  entries_.remove(entry);
  if (entry->idle_) idle_.remove(entry);
  entry->idle_ = false;
  // Closed now, not when the last holder lets go: the peer must see it.
  platform::CloseSocket(entry->socket_);
  entry->socket_ = platform::kInvalidSocket;
}

size_t TCPSocketManager::EntryCount() const {
  MutexLock hold(mutex_);
  return entries_.size();
}

size_t TCPSocketManager::IdleCount() const {
  MutexLock hold(mutex_);
  return idle_.size();
}

int TCPSocketManager::use_count() const {
  MutexLock hold(mutex_);
  return use_count_;
}

bool TCPSocketManager::IsCloserRunning() const {
  MutexLock hold(mutex_);
  return closer_ != nullptr;
}

std::weak_ptr<TCPLazyCloseThread> TCPSocketManager::closer() const {
  MutexLock hold(mutex_);
  return closer_;
}

void TCPSocketManager::StartCloserIfStopped() {
  {
    MutexLock hold(mutex_);
    if (closer_) return;
    closer_ = std::make_shared<TCPLazyCloseThread>(weak_from_this(), hooks_.wait);
    closer_thread_ = std::make_unique<OThread>(closer_);
    try {
      closer_thread_->Start();
      return;
    } catch (...) {
      // Without the closer idle connections stay open until re-used or the
      // process ends; the next Obtain tries again.
      closer_.reset();
    }
  }
  // Logged after unlocking: the file log takes a cross-process mutex.
  Log(kLogErrors, "General Exception occurred. ");
}

void TCPSocketManager::CloserEnded(const TCPLazyCloseThread* closer) {
  MutexLock hold(mutex_);
  if (closer_.get() == closer) closer_.reset();
}

std::optional<uint32_t> TCPSocketManager::CloseExpiredAndPlanWait() {
  for (;;) {
    std::shared_ptr<TCPSocketEntry> expired;
    {
      MutexLock hold(mutex_);
      if (idle_.empty()) {
        if (entries_.empty() && use_count_ == 0) {
          closer_.reset();  // a later user starts a new closer
          return std::nullopt;
        }
        return kLazyCloseMaxWaitMs;
      }
      const uint64_t now = hooks_.now();
      const uint64_t expiry = idle_.front()->expiry_;
      if (expiry > now) {
        return static_cast<uint32_t>(
            std::clamp<uint64_t>(expiry - now, kLazyCloseMinWaitMs, kLazyCloseMaxWaitMs));
      }
      expired = idle_.front();
      idle_.pop_front();
      expired->idle_ = false;
      entries_.remove(expired);
    }
    // Logged and closed outside the lock.
    Log(kLogDetailInfo, "Entry timed out Id: " + expired->IdText());
    try {
      platform::CloseSocket(expired->socket_);
      expired->socket_ = platform::kInvalidSocket;
    } catch (...) {
      Log(kLogErrors,
          "SocketException occurred during delete pSocketEntry occurred, and was ignored.");
    }
  }
}

TCPLazyCloseThread::TCPLazyCloseThread(std::weak_ptr<TCPSocketManager> manager,
                                       std::function<bool(uint32_t)> wait)
    : manager_(std::move(manager)), wait_(std::move(wait)) {}

void TCPLazyCloseThread::ThreadStart() {
  try {
    Run();
  } catch (...) {
    if (auto manager = manager_.lock()) manager->CloserEnded(this);
    throw;
  }
}

void TCPLazyCloseThread::Stop() {
  MutexLock hold(mutex_);
  terminate_ = true;
  signal_.notify_all();
}

bool TCPLazyCloseThread::WaitForTerminate(uint32_t ms) {
  if (wait_) return wait_(ms);
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
  MutexLock hold(mutex_);
  while (!terminate_) {
    if (!hold.WaitUntil(signal_, deadline)) break;
  }
  return terminate_;
}

bool TCPLazyCloseThread::IsTerminating() {
  MutexLock hold(mutex_);
  return terminate_;
}

void TCPLazyCloseThread::Run() {
  for (;;) {
    uint32_t wait;
    {
      // The manager is held only between waits, so that it can go away
      // while the closer sleeps.
      std::shared_ptr<TCPSocketManager> manager = manager_.lock();
      if (!manager || IsTerminating()) break;
      const std::optional<uint32_t> plan = manager->CloseExpiredAndPlanWait();
      if (!plan) {
        manager->Log(kLogDetailInfo, "terminating due to empty queues");
        return;
      }
      wait = *plan;
      manager->Log(kLogDetailInfo, "Blocking for: " + std::to_string(wait) + " milliseconds");
    }
    const bool terminated = WaitForTerminate(wait);
    std::shared_ptr<TCPSocketManager> manager = manager_.lock();
    if (!manager) return;
    manager->Log(kLogDetailInfo,
                 terminated ? "Unblocked due to _hTerminateEvent" : "Unblocked due to timeout");
    if (terminated) break;
  }
  if (auto manager = manager_.lock()) manager->CloserEnded(this);
}

TCPSocketWithReUse::TCPSocketWithReUse(std::shared_ptr<TCPSocketManager> manager)
    : manager_(std::move(manager)) {
  manager_->Obtain();
}

TCPSocketWithReUse::~TCPSocketWithReUse() {
  Abandon();
  manager_->Release();
}

long TCPSocketWithReUse::Connect(std::string_view host, uint32_t port, uint32_t timeout_ms,
                                 uint32_t retries) {
  Abandon();
  manager_->Log(kLogDetailInfo, "Connect - Start: ID:0x0, Host:" + std::string(host) +
                                    ", Port: " + std::to_string(port));
  long error = 0;
  entry_ = manager_->GetSocketEntry(host, port, retries, timeout_ms, &error, &reused_);
  manager_->Log(kLogDetailInfo, "Connect - End: " + (entry_ ? entry_->IdText() : "failed"));
  return error;
}

void TCPSocketWithReUse::SetSendTimeout(uint32_t ms) {
  send_timeout_ms_ = ms;
  if (entry_) {
    manager_->Log(kLogDetailInfo,
                  "SetSendTimeout ID: " + entry_->IdText() + ", " + std::to_string(ms));
  }
}

void TCPSocketWithReUse::SetReceiveTimeout(uint32_t ms) {
  receive_timeout_ms_ = ms;
  if (entry_) {
    manager_->Log(kLogDetailInfo,
                  "SetReceiveTimeout ID: " + entry_->IdText() + ", " + std::to_string(ms));
  }
}

long TCPSocketWithReUse::Send(std::string_view bytes) {
  if (!entry_) return platform::kWsaNotConnected;
  return platform::SendAll(entry_->socket(), bytes, send_timeout_ms_);
}

long TCPSocketWithReUse::Receive(void* buffer, size_t capacity, size_t* received) {
  *received = 0;
  if (!entry_) return platform::kWsaNotConnected;
  return platform::ReceiveSome(entry_->socket(), buffer, capacity, receive_timeout_ms_, received);
}

void TCPSocketWithReUse::Finish() {
  if (!entry_) return;
  manager_->MoveToIdle(entry_);
  entry_.reset();
}

void TCPSocketWithReUse::Abandon() {
  if (!entry_) return;
  manager_->DestroySocketEntry(entry_);
  entry_.reset();
}

}  // namespace vantrel
