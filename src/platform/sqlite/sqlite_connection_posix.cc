#include "platform/sqlite/sqlite_connection_posix.h"

#include <sqlite3.h>

#include <algorithm>
#include <cerrno>

#include "platform/clock.h"
#include "platform/sqlite/change_counter_posix.h"
#include "platform/win32_errors.h"

namespace vantrel::platform {
namespace {

// SQLite's own busy handler waits this long for a lock before a statement
// gives up; the transaction is then retried from the start until
// kBusyLimitMs has passed, so a caller only sees kErrorBusy when another
// process holds the file far longer than any of our transactions takes.
constexpr int kBusyTimeoutMs = 2000;
constexpr uint64_t kBusyLimitMs = 60000;
constexpr uint32_t kLongestPauseMs = 50;

long LastError(sqlite3* db) {
  return WindowsErrorFromSqlite(sqlite3_extended_errcode(db), sqlite3_system_errno(db));
}

}  // namespace

long ExecuteScript(sqlite3* db, const char* sql) {
  return sqlite3_exec(db, sql, nullptr, nullptr, nullptr) == SQLITE_OK ? kErrorSuccess
                                                                       : LastError(db);
}

long WindowsErrorFromSqlite(int extended_code, int system_errno) {
  switch (extended_code) {
    case SQLITE_OK:
    case SQLITE_ROW:
    case SQLITE_DONE:
      return kErrorSuccess;
    case SQLITE_READONLY_ROLLBACK:  // a crashed writer's change must be undone by a writer first
    case SQLITE_READONLY_RECOVERY:
      return kErrorCantRead;
  }
  switch (extended_code & 0xFF) {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      return kErrorBusy;
    case SQLITE_READONLY:
    case SQLITE_PERM:
    case SQLITE_AUTH:
      return kErrorAccessDenied;
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
      return kErrorBadDbFormat;
    case SQLITE_NOMEM:
      return kErrorNotEnoughMemory;
    case SQLITE_FULL:
      return kErrorCantWrite;
    case SQLITE_TOOBIG:
      return kErrorInvalidParameter;
    case SQLITE_IOERR:
      return kErrorRegistryIoFailed;
    case SQLITE_CANTOPEN: {
      // Typically the journal in a folder this caller may not write.
      const bool refused = system_errno == EACCES || system_errno == EPERM || system_errno == EROFS;
      return refused ? kErrorAccessDenied : kErrorCantRead;
    }
  }
  return kErrorInternalError;
}

SqliteStatement::SqliteStatement(sqlite3* db, const char* sql) : db_(db) {
  const int code = sqlite3_prepare_v2(db, sql, -1, &statement_, nullptr);
  if (code != SQLITE_OK) Fail(code);
}

SqliteStatement::~SqliteStatement() { sqlite3_finalize(statement_); }

void SqliteStatement::Fail(int code) {
  if (error_ == kErrorSuccess) error_ = WindowsErrorFromSqlite(code, sqlite3_system_errno(db_));
}

SqliteStatement& SqliteStatement::Bind(int64_t number) {
  if (error_ == kErrorSuccess) {
    const int code = sqlite3_bind_int64(statement_, next_parameter_, number);
    if (code != SQLITE_OK) Fail(code);
  }
  ++next_parameter_;
  return *this;
}

SqliteStatement& SqliteStatement::Bind(std::string_view text) {
  if (error_ == kErrorSuccess) {
    // A null pointer would bind SQL NULL, not the empty text.
    const char* data = text.empty() ? "" : text.data();
    const int code = sqlite3_bind_text64(statement_, next_parameter_, data, text.size(),
                                         SQLITE_TRANSIENT, SQLITE_UTF8);
    if (code != SQLITE_OK) Fail(code);
  }
  ++next_parameter_;
  return *this;
}

SqliteStatement& SqliteStatement::Bind(const std::vector<uint8_t>& blob) {
  if (error_ == kErrorSuccess) {
    // Likewise an empty blob must be bound as one, or it reads back as NULL.
    const int code = blob.empty() ? sqlite3_bind_zeroblob(statement_, next_parameter_, 0)
                                  : sqlite3_bind_blob64(statement_, next_parameter_, blob.data(),
                                                        blob.size(), SQLITE_TRANSIENT);
    if (code != SQLITE_OK) Fail(code);
  }
  ++next_parameter_;
  return *this;
}

bool SqliteStatement::Step() {
  if (error_ != kErrorSuccess) return false;
  const int code = sqlite3_step(statement_);
  if (code == SQLITE_ROW) return true;
  if (code != SQLITE_DONE) Fail(code);
  return false;
}

long SqliteStatement::Run() {
  while (Step()) {
  }
  return error_;
}

int64_t SqliteStatement::Integer(int column) const {
  return sqlite3_column_int64(statement_, column);
}

std::string SqliteStatement::Text(int column) const {
  const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement_, column));
  return text ? std::string(text, sqlite3_column_bytes(statement_, column)) : std::string();
}

std::vector<uint8_t> SqliteStatement::Blob(int column) const {
  const auto* bytes = static_cast<const uint8_t*>(sqlite3_column_blob(statement_, column));
  return bytes ? std::vector<uint8_t>(bytes, bytes + sqlite3_column_bytes(statement_, column))
               : std::vector<uint8_t>();
}

SqliteConnection::SqliteConnection(sqlite3* db, bool read_only, bool stand_in,
                                   std::unique_ptr<ChangeCounter> counter)
    : db_(db), read_only_(read_only), stand_in_(stand_in), counter_(std::move(counter)) {}

SqliteConnection::~SqliteConnection() { sqlite3_close_v2(db_); }

long SqliteConnection::Open(const std::string& path, bool read_only,
                            std::unique_ptr<SqliteConnection>* connection) {
  // The connection is used by one thread at a time under mutex_, so SQLite's
  // own per-connection mutex is not needed.
  const int flags =
      (read_only ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE) |
      SQLITE_OPEN_NOMUTEX;
  sqlite3* db = nullptr;
  const int code = sqlite3_open_v2(path.c_str(), &db, flags, nullptr);
  if (code != SQLITE_OK) {
    const long error = db ? LastError(db) : kErrorNotEnoughMemory;
    sqlite3_close_v2(db);
    return error;
  }
  sqlite3_extended_result_codes(db, 1);
  sqlite3_busy_timeout(db, kBusyTimeoutMs);
  // SQLite quietly opens a file it may not write read-only; say so.
  bool refused_writes = read_only || sqlite3_db_readonly(db, "main") == 1;
  auto counter = ChangeCounter::Open(path, !refused_writes);
  if (counter == nullptr && !refused_writes) {
    refused_writes = true;
    counter = ChangeCounter::Open(path, false);
  }
  connection->reset(new SqliteConnection(db, refused_writes, false, std::move(counter)));
  return kErrorSuccess;
}

long SqliteConnection::OpenEmptyStandIn(std::unique_ptr<SqliteConnection>* connection) {
  sqlite3* db = nullptr;
  if (sqlite3_open_v2(":memory:", &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr) !=
      SQLITE_OK) {
    sqlite3_close_v2(db);
    return kErrorNotEnoughMemory;
  }
  sqlite3_extended_result_codes(db, 1);
  connection->reset(new SqliteConnection(db, true, true, nullptr));
  return kErrorSuccess;
}

std::optional<uint64_t> SqliteConnection::ChangeStamp() const {
  if (counter_ == nullptr) return std::nullopt;
  return counter_->Read();
}

long SqliteConnection::Read(const Body& body) { return RunTransaction(false, body); }

long SqliteConnection::CachedRead(const std::string& memo_key, const AnswerBody& body,
                                  StoreReadAnswer* answer) {
  // The stamp is taken before reading: a write that lands meanwhile moves
  // the count past it, and the answer is not used again.
  const std::optional<uint64_t> stamp = ChangeStamp();
  if (stamp && read_cache_.Find(*stamp, memo_key, answer)) return answer->error;
  StoreReadAnswer read;
  read.error = Read([&](sqlite3* db) { return body(db, &read); });
  if (stamp) read_cache_.Remember(*stamp, memo_key, read);
  *answer = std::move(read);
  return answer->error;
}

// IMMEDIATE takes the write lock before the first read, so two writers never
// both read and then find they cannot upgrade (which SQLite reports as busy
// without waiting).
long SqliteConnection::Write(const Body& body) { return RunTransaction(true, body); }

long SqliteConnection::RunTransaction(bool write, const Body& body) {
  MutexLock lock(mutex_);
  const uint64_t deadline = TickCount64() + kBusyLimitMs;
  uint32_t pause_ms = 1;
  while (true) {
    const long error = RunOnce(write, body);
    if (error != kErrorBusy || TickCount64() >= deadline) return error;
    SleepMilliseconds(pause_ms);
    pause_ms = std::min(pause_ms * 2, kLongestPauseMs);
  }
}

long SqliteConnection::RunOnce(bool write, const Body& body) {
  long error = ExecuteScript(db_, write ? "BEGIN IMMEDIATE" : "BEGIN");
  if (error != kErrorSuccess) return error;
  // The write lock is held now: no other writer commits until the second bump.
  const bool writes = write && counter_ != nullptr;
  if (writes) counter_->Bump();
  error = body(db_);
  if (error == kErrorSuccess) error = ExecuteScript(db_, "COMMIT");
  if (writes) counter_->Bump();
  // A failed COMMIT may leave the transaction open; never leave one behind.
  if (error != kErrorSuccess && !sqlite3_get_autocommit(db_)) ExecuteScript(db_, "ROLLBACK");
  return error;
}

}  // namespace vantrel::platform
