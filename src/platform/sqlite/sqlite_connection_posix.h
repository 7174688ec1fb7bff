// Linux only: one SQLite connection to one store file, shared by the threads
// of a process, and the statements run on it. Every SQLite result becomes a
// Windows error number here (WindowsErrorFromSqlite) and nowhere else.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/sqlite/store_read_cache_posix.h"
#include "platform/thread_annotations.h"

struct sqlite3;
struct sqlite3_stmt;

namespace vantrel::platform {

class ChangeCounter;

// The Windows error number for an (extended) SQLite result code; the errno
// of the failed system call, when there was one, refines "cannot open".
// SQLITE_BUSY and SQLITE_LOCKED become kErrorBusy, which callers retry.
long WindowsErrorFromSqlite(int extended_code, int system_errno);

// Runs one or more statements that return no rows, inside a transaction body.
long ExecuteScript(sqlite3* db, const char* sql);

// One prepared statement; finalized when it goes. Values are bound in order
// with Bind; Step answers true for each row and false at the end or on
// failure, which error() then names. Used only inside a transaction body.
class SqliteStatement {
 public:
  SqliteStatement(sqlite3* db, const char* sql);
  ~SqliteStatement();
  SqliteStatement(const SqliteStatement&) = delete;
  SqliteStatement& operator=(const SqliteStatement&) = delete;

  SqliteStatement& Bind(int64_t number);
  SqliteStatement& Bind(std::string_view text);
  SqliteStatement& Bind(const std::vector<uint8_t>& blob);

  bool Step();
  // Steps to the end; kErrorSuccess or the failure.
  long Run();
  long error() const { return error_; }

  int64_t Integer(int column) const;
  std::string Text(int column) const;
  std::vector<uint8_t> Blob(int column) const;

 private:
  void Fail(int code);

  sqlite3* db_;
  sqlite3_stmt* statement_ = nullptr;
  int next_parameter_ = 1;
  long error_ = 0;
};

class SqliteConnection {
 public:
  // A transaction body: runs statements on the connection and answers a
  // Windows error number. Non-zero rolls the transaction back.
  using Body = std::function<long(sqlite3* db)>;
  // A read whose answer may be remembered: fills `answer` and returns its
  // error as a Body does.
  using AnswerBody = std::function<long(sqlite3* db, StoreReadAnswer* answer)>;

  // Opens the database file at `path`, creating it unless `read_only`, with
  // its change counter (change_counter_posix.h). A caller who could write the
  // file but cannot bump its counter gets a read-only connection: a write the
  // other processes could not notice would leave them reading stale answers.
  // kErrorSuccess sets `connection`; a file that is not a database, or is
  // damaged, gives kErrorBadDbFormat when first read, not here.
  static long Open(const std::string& path, bool read_only,
                   std::unique_ptr<SqliteConnection>* connection);
  // An empty database in memory, for a store file that does not exist yet and
  // cannot be created by this caller: reads find nothing, writes are refused.
  static long OpenEmptyStandIn(std::unique_ptr<SqliteConnection>* connection);
  ~SqliteConnection();

  // True when writes are refused: opened read-only, or the stand-in.
  bool read_only() const { return read_only_; }
  bool is_stand_in() const { return stand_in_; }

  // The file's change count now (no system call), or nothing when this
  // connection has no counter and so cannot tell: answers must then not be
  // remembered. Any thread.
  std::optional<uint64_t> ChangeStamp() const;

  // Run `body` in a read (deferred) or write (immediate) transaction with the
  // connection's lock held. A busy database is waited for and the whole
  // transaction retried, for up to a minute; only then is kErrorBusy returned.
  // Block while another thread or process writes. A write transaction bumps
  // the change count once it holds the write lock and again after it
  // commits. Any thread.
  long Read(const Body& body);
  long Write(const Body& body);
  // Read, answered from memory while no process has written the file since
  // the same `memo_key` was last read: no transaction, no system call. A
  // connection without a change counter always reads. Any thread.
  long CachedRead(const std::string& memo_key, const AnswerBody& body, StoreReadAnswer* answer);

 private:
  SqliteConnection(sqlite3* db, bool read_only, bool stand_in,
                   std::unique_ptr<ChangeCounter> counter);
  long RunTransaction(bool write, const Body& body);
  long RunOnce(bool write, const Body& body);

  Mutex mutex_;  // serialises every use of db_
  sqlite3* const db_;
  const bool read_only_;
  const bool stand_in_;
  const std::unique_ptr<ChangeCounter> counter_;  // null: no counter
  StoreReadCache read_cache_;
};

}  // namespace vantrel::platform
