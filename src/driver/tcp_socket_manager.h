// Keeps the connections of the XPML client open between exchanges. A thread
// that asks again for the same host and port gets its own live connection
// back; idle connections wait in a queue ordered by expiry and a background
// thread (TCPLazyCloseThread) closes each one two minutes after its last use.
// Connections are matched by thread, so one is never used by two threads at
// once. Log lines go to the log "Marlock TCP Library V3".
#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/tcp_socket.h"
#include "platform/thread_annotations.h"
#include "support/othread.h"

namespace vantrel {

// How long a connection may stay idle, and the bounds of the closer's waits.
constexpr uint64_t kIdleLifetimeMs = 120000;
constexpr uint32_t kLazyCloseMinWaitMs = 5000;
constexpr uint32_t kLazyCloseMaxWaitMs = 120000;

// One connection. Fields other than the socket are fixed at creation, except
// the re-use count and expiry, which only the manager changes under its lock.
class TCPSocketEntry {
 public:
  TCPSocketEntry(uint32_t id, std::string host, uint32_t port, uint64_t owner_thread,
                 uint32_t retries);
  ~TCPSocketEntry();  // closes the socket
  TCPSocketEntry(const TCPSocketEntry&) = delete;
  TCPSocketEntry& operator=(const TCPSocketEntry&) = delete;

  platform::SocketHandle socket() const { return socket_; }
  void set_socket(platform::SocketHandle socket) { socket_ = socket; }
  uint32_t id() const { return id_; }
  // "0x" and the id in hexadecimal, as log lines show it.
  std::string IdText() const;
  const std::string& host() const { return host_; }
  uint32_t port() const { return port_; }
  uint64_t owner_thread() const { return owner_thread_; }
  uint32_t retries() const { return retries_; }

 private:
  friend class TCPSocketManager;
  platform::SocketHandle socket_ = platform::kInvalidSocket;
  const uint32_t id_;
  const std::string host_;
  const uint32_t port_;
  const uint64_t owner_thread_;
  const uint32_t retries_;
  // Guarded by the manager's lock (which the analysis cannot name from here:
  // only TCPSocketManager touches them, in functions that hold or require it).
  uint32_t reuse_count_ = 0;
  uint64_t expiry_ = 0;
  bool idle_ = false;
};

// What the manager depends on, replaceable by tests.
struct TCPSocketManagerHooks {
  // Milliseconds, monotonic (GetTickCount64 semantics).
  std::function<uint64_t()> now;
  // The calling thread's id.
  std::function<uint64_t()> thread_id;
  // Opens a connection: attempts, time-out per attempt; a socket error number.
  std::function<long(std::string_view host, uint32_t port, uint32_t timeout_ms, uint32_t attempts,
                     platform::SocketHandle* socket)>
      connect;
  // The liveness probe.
  std::function<bool(platform::SocketHandle)> is_alive;
  // Receives each log line with its level.
  std::function<void(uint32_t level, const std::string& line)> log;
  // Waits for the closer's terminate signal at most `ms`: true when the
  // signal came, false on time-out. Null means a real wait.
  std::function<bool(uint32_t ms)> wait;
  // The platform's own: tick count, native thread id, ConnectSocket with
  // attempts, IsSocketAlive, the log "Marlock TCP Library V3".
  static TCPSocketManagerHooks Platform();
};

class TCPLazyCloseThread;

class TCPSocketManager : public std::enable_shared_from_this<TCPSocketManager> {
 public:
  static constexpr const char* kLogName = "Marlock TCP Library V3";

  static std::shared_ptr<TCPSocketManager> Create(
      TCPSocketManagerHooks hooks = TCPSocketManagerHooks::Platform());
  // The process's manager, created on first use. Any thread.
  static std::shared_ptr<TCPSocketManager> Process();
  ~TCPSocketManager();

  // Counts a user in and out. Obtain starts the closer when it is not
  // running. Any thread; never blocks on the network.
  void Obtain();
  void Release();

  // The calling thread's live connection to host:port, or a new one made
  // with `retries` + 1 attempts of `timeout_ms` each. Null with `*error` set
  // (a socket error number) when no connection could be made. `*reused`,
  // when given, tells whether a kept connection was handed back. Never
  // throws: any other failure is logged ("General Exception occurred. ") and
  // answers null with kWsaNotConnected. Blocks while connecting; any thread.
  std::shared_ptr<TCPSocketEntry> GetSocketEntry(std::string_view host, uint32_t port,
                                                 uint32_t retries, uint32_t timeout_ms, long* error,
                                                 bool* reused = nullptr);
  // Puts an entry whose exchange completed into the idle queue for
  // kIdleLifetimeMs. Any thread.
  void MoveToIdle(const std::shared_ptr<TCPSocketEntry>& entry);
  // Removes the entry and closes its socket. Any thread.
  void DestroySocketEntry(const std::shared_ptr<TCPSocketEntry>& entry);

  // Writes a line to the manager's log. Any thread.
  void Log(uint32_t level, const std::string& line) const;

  // For the closer and tests.
  size_t EntryCount() const;
  size_t IdleCount() const;
  int use_count() const;
  bool IsCloserRunning() const;
  // The running closer, or empty; it expires when the closer's thread ends.
  std::weak_ptr<TCPLazyCloseThread> closer() const;

 private:
  friend class TCPLazyCloseThread;
  explicit TCPSocketManager(TCPSocketManagerHooks hooks);

  // GetSocketEntry's work; may throw what the hooks throw.
  std::shared_ptr<TCPSocketEntry> GetOrCreateEntry(std::string_view host, uint32_t port,
                                                   uint32_t retries, uint32_t timeout_ms,
                                                   long* error, bool* reused) EXCLUDES(mutex_);
  std::shared_ptr<TCPSocketEntry> TakeOwnEntry(std::string_view host, uint32_t port)
      EXCLUDES(mutex_);
  std::shared_ptr<TCPSocketEntry> CreateEntry(std::string_view host, uint32_t port,
                                              uint32_t retries, uint32_t timeout_ms, long* error)
      EXCLUDES(mutex_);
  void RemoveLocked(const std::shared_ptr<TCPSocketEntry>& entry) REQUIRES(mutex_);
  void StartCloserIfStopped() EXCLUDES(mutex_);
  // One round of the closer: closes expired entries and answers how long
  // to wait, or nothing when the closer should end.
  std::optional<uint32_t> CloseExpiredAndPlanWait() EXCLUDES(mutex_);
  void CloserEnded(const TCPLazyCloseThread* closer) EXCLUDES(mutex_);

  const TCPSocketManagerHooks hooks_;
  // Held only to read or change the lists and counts; connecting, logging
  // and the liveness probe happen without it.
  mutable Mutex mutex_;
  std::list<std::shared_ptr<TCPSocketEntry>> entries_ GUARDED_BY(mutex_);
  std::list<std::shared_ptr<TCPSocketEntry>> idle_ GUARDED_BY(mutex_);  // by expiry
  int use_count_ GUARDED_BY(mutex_) = 0;
  uint32_t next_id_ GUARDED_BY(mutex_) = 1;
  std::shared_ptr<TCPLazyCloseThread> closer_ GUARDED_BY(mutex_);
  std::unique_ptr<OThread> closer_thread_ GUARDED_BY(mutex_);
};

// The closer: waits for the earliest expiry (between 5 s and 120 s), closes
// what has expired, and ends when there is nothing left to watch or it is
// stopped.
class TCPLazyCloseThread : public IThreadable {
 public:
  // `wait` replaces the wait for the terminate signal (tests): true when
  // the signal came. Null means a real wait.
  TCPLazyCloseThread(std::weak_ptr<TCPSocketManager> manager,
                     std::function<bool(uint32_t ms)> wait);
  // Runs the closer; when it fails, the manager forgets it (so that the next
  // user starts a new one) before the failure goes on to the thread's frame.
  void ThreadStart() override;
  void Stop() override EXCLUDES(mutex_);
  const char* ThreadProcName() const override { return "TCPLazyCloseThread::ThreadProc"; }
  void Run();

 private:
  bool WaitForTerminate(uint32_t ms) EXCLUDES(mutex_);
  bool IsTerminating() EXCLUDES(mutex_);

  const std::weak_ptr<TCPSocketManager> manager_;
  const std::function<bool(uint32_t)> wait_;
  Mutex mutex_;
  std::condition_variable signal_;
  bool terminate_ GUARDED_BY(mutex_) = false;
};

// The connection the XPML client uses for one exchange: taken from the
// manager, returned to its idle queue after a completed exchange, destroyed
// after a failed one. One thread uses an object at a time.
class TCPSocketWithReUse {
 public:
  explicit TCPSocketWithReUse(std::shared_ptr<TCPSocketManager> manager);
  // Destroys an entry that was neither finished nor abandoned.
  ~TCPSocketWithReUse();
  TCPSocketWithReUse(const TCPSocketWithReUse&) = delete;
  TCPSocketWithReUse& operator=(const TCPSocketWithReUse&) = delete;

  // Takes a live connection; a socket error number, 0 on success. Blocks
  // while connecting.
  long Connect(std::string_view host, uint32_t port, uint32_t timeout_ms, uint32_t retries);
  void SetSendTimeout(uint32_t ms);
  void SetReceiveTimeout(uint32_t ms);
  // Sends all of `bytes` / receives what is there (0 bytes: the peer closed).
  long Send(std::string_view bytes);
  long Receive(void* buffer, size_t capacity, size_t* received);
  // The exchange completed: the connection goes idle for re-use.
  void Finish();
  // The exchange failed: the connection is closed.
  void Abandon();
  bool reused() const { return reused_; }

 private:
  const std::shared_ptr<TCPSocketManager> manager_;
  std::shared_ptr<TCPSocketEntry> entry_;
  uint32_t send_timeout_ms_ = 30000;
  uint32_t receive_timeout_ms_ = 30000;
  bool reused_ = false;
};

}  // namespace vantrel
