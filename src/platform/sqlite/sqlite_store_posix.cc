#include "platform/sqlite/sqlite_store_posix.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <vector>

#include "platform/folders.h"
#include "platform/sqlite/sqlite_connection_posix.h"
#include "platform/unicode.h"
#include "platform/win32_errors.h"
#include "platform/thread_annotations.h"

namespace vantrel::platform {
namespace {

constexpr int64_t kSchemaVersion = 1;

// Names are found by their ASCII lower-case form and keep the case first
// written. Key ids are never reused (AUTOINCREMENT), so a handle on a key
// that was deleted stays dead even when a key of the same name comes back.
constexpr char kCreateSchema[] = R"sql(
CREATE TABLE keys(
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  root INTEGER NOT NULL,
  parent INTEGER,
  path_folded TEXT NOT NULL,
  name TEXT NOT NULL,
  name_folded TEXT NOT NULL,
  UNIQUE(root, path_folded));
CREATE INDEX keys_by_parent ON keys(parent, name_folded);
CREATE TABLE key_values(
  key_id INTEGER NOT NULL,
  name_folded TEXT NOT NULL,
  name TEXT NOT NULL,
  type INTEGER NOT NULL,
  data BLOB NOT NULL,
  PRIMARY KEY(key_id, name_folded)) WITHOUT ROWID;
INSERT INTO keys(root, parent, path_folded, name, name_folded)
  VALUES (0, NULL, '', '', ''), (1, NULL, '', '', ''), (2, NULL, '', '', ''), (3, NULL, '', '', '');
PRAGMA user_version = 1;
)sql";

bool Exists(const std::string& path) {
  struct stat info {};
  return stat(path.c_str(), &info) == 0;
}

bool MayWrite(const std::string& path) {
  return faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) == 0;
}

// Splits a "\"-separated path as the registry does: a leading separator
// makes it unusable, doubled and trailing separators are ignored.
long SplitPath(std::string_view path, std::vector<std::string>* parts) {
  parts->clear();
  if (!path.empty() && path.front() == '\\') return kErrorBadPathname;
  size_t start = 0;
  while (start < path.size()) {
    const size_t end = std::min(path.find('\\', start), path.size());
    if (end > start) parts->emplace_back(path.substr(start, end - start));
    start = end + 1;
  }
  return kErrorSuccess;
}

std::string JoinFolded(const std::string& folded_base, std::string_view part) {
  return folded_base.empty() ? AsciiLower(part) : folded_base + "\\" + AsciiLower(part);
}

std::string FoldedPath(const std::vector<std::string>& parts) {
  std::string folded;
  for (const std::string& part : parts) folded = JoinFolded(folded, part);
  return folded;
}

uint32_t Utf16Length(const std::string& text) {
  return static_cast<uint32_t>(Utf8ToUtf16(text).size());
}

// --- Statements; each runs inside a transaction body. ---

long SchemaVersion(sqlite3* db, int64_t* version) {
  SqliteStatement pragma(db, "PRAGMA user_version");
  if (pragma.Step()) *version = pragma.Integer(0);
  return pragma.error();
}

long CreateSchemaIfMissing(sqlite3* db) {
  int64_t version = 0;
  if (const long error = SchemaVersion(db, &version)) return error;
  if (version > kSchemaVersion) return kErrorBadDbFormat;  // a layout we do not know
  return version == 0 ? ExecuteScript(db, kCreateSchema) : kErrorSuccess;
}

long FindKey(sqlite3* db, RegistryRoot root, const std::string& folded_path, int64_t* id) {
  SqliteStatement find(db, "SELECT id FROM keys WHERE root = ? AND path_folded = ?");
  find.Bind(static_cast<int64_t>(root)).Bind(folded_path);
  const bool found = find.Step();
  if (found) *id = find.Integer(0);
  if (find.error()) return find.error();
  return found ? kErrorSuccess : kErrorFileNotFound;
}

long AddKey(sqlite3* db, RegistryRoot root, int64_t parent, const std::string& folded_path,
            const std::string& name, int64_t* id) {
  SqliteStatement add(db,
                      "INSERT INTO keys(root, parent, path_folded, name, name_folded) "
                      "VALUES (?, ?, ?, ?, ?)");
  add.Bind(static_cast<int64_t>(root)).Bind(parent).Bind(folded_path).Bind(name);
  add.Bind(AsciiLower(name));
  if (const long error = add.Run()) return error;
  *id = sqlite3_last_insert_rowid(db);
  return kErrorSuccess;
}

// Finds the key at `parts` below `root`, adding it and its missing parents.
long FindOrAddPath(sqlite3* db, RegistryRoot root, const std::vector<std::string>& parts,
                   int64_t* id) {
  int64_t parent = 0;
  if (const long error = FindKey(db, root, "", &parent)) return error;
  std::string folded;
  for (const std::string& part : parts) {
    folded = JoinFolded(folded, part);
    int64_t child = 0;
    long error = FindKey(db, root, folded, &child);
    if (error == kErrorFileNotFound) error = AddKey(db, root, parent, folded, part, &child);
    if (error) return error;
    parent = child;
  }
  *id = parent;
  return kErrorSuccess;
}

// FindKey, answered from the connection's read cache while the file is unchanged.
long FindKeyCached(SqliteConnection& connection, RegistryRoot root, const std::string& folded_path,
                   int64_t* id) {
  StoreReadAnswer answer;
  const std::string memo_key = "key " + std::to_string(static_cast<int>(root)) + "\\" + folded_path;
  const long error = connection.CachedRead(
      memo_key,
      [&](sqlite3* db, StoreReadAnswer* read) {
        return FindKey(db, root, folded_path, &read->key_id);
      },
      &answer);
  if (error == kErrorSuccess) *id = answer.key_id;
  return error;
}

// kErrorKeyDeleted once the key behind a handle is gone, as the registry says.
long CheckAlive(sqlite3* db, int64_t id) {
  SqliteStatement check(db, "SELECT 1 FROM keys WHERE id = ?");
  check.Bind(id);
  const bool found = check.Step();
  if (check.error()) return check.error();
  return found ? kErrorSuccess : kErrorKeyDeleted;
}

long KeyLocation(sqlite3* db, int64_t id, RegistryRoot* root, std::string* folded_path) {
  SqliteStatement find(db, "SELECT root, path_folded FROM keys WHERE id = ?");
  find.Bind(id);
  const bool found = find.Step();
  if (found) {
    *root = static_cast<RegistryRoot>(find.Integer(0));
    *folded_path = find.Text(1);
  }
  if (find.error()) return find.error();
  return found ? kErrorSuccess : kErrorKeyDeleted;
}

long HasSubKeys(sqlite3* db, int64_t id, bool* has) {
  SqliteStatement find(db, "SELECT 1 FROM keys WHERE parent = ? LIMIT 1");
  find.Bind(id);
  *has = find.Step();
  return find.error();
}

long RemoveKey(sqlite3* db, int64_t id) {
  SqliteStatement values(db, "DELETE FROM key_values WHERE key_id = ?");
  if (const long error = values.Bind(id).Run()) return error;
  SqliteStatement key(db, "DELETE FROM keys WHERE id = ?");
  return key.Bind(id).Run();
}

// --- Keys ---

class SqliteKey : public SettingsKey {
 public:
  SqliteKey(std::shared_ptr<SqliteConnection> connection, int64_t id, uint32_t access)
      : connection_(std::move(connection)), id_(id), access_(access) {}

  long QueryValue(std::string_view name, RegistryValue* value) override {
    if (!Allows(kKeyQueryValue)) return kErrorAccessDenied;
    const std::string folded = AsciiLower(name);
    StoreReadAnswer answer;
    const std::string memo_key = "value " + std::to_string(id_) + "\\" + folded;
    const long error = connection_->CachedRead(
        memo_key,
        [&](sqlite3* db, StoreReadAnswer* read) {
          if (const long error = CheckAlive(db, id_)) return error;
          SqliteStatement find(
              db, "SELECT type, data FROM key_values WHERE key_id = ? AND name_folded = ?");
          find.Bind(id_).Bind(folded);
          const bool found = find.Step();
          if (found)
            read->value = RegistryValue{static_cast<uint32_t>(find.Integer(0)), find.Blob(1)};
          if (find.error()) return find.error();
          return found ? kErrorSuccess : kErrorFileNotFound;
        },
        &answer);
    if (error == kErrorSuccess) *value = std::move(answer.value);
    return error;
  }

  long SetValue(std::string_view name, const RegistryValue& value) override {
    if (!AllowsWrite(kKeySetValue)) return kErrorAccessDenied;
    return connection_->Write([&](sqlite3* db) {
      if (const long error = CheckAlive(db, id_)) return error;
      // On conflict only the data changes: the name keeps its first case.
      SqliteStatement set(db,
                          "INSERT INTO key_values(key_id, name_folded, name, type, data) "
                          "VALUES (?, ?, ?, ?, ?) ON CONFLICT(key_id, name_folded) "
                          "DO UPDATE SET type = excluded.type, data = excluded.data");
      set.Bind(id_).Bind(AsciiLower(name)).Bind(name).Bind(int64_t{value.type}).Bind(value.data);
      return set.Run();
    });
  }

  long DeleteValue(std::string_view name) override {
    if (!AllowsWrite(kKeySetValue)) return kErrorAccessDenied;
    return connection_->Write([&](sqlite3* db) {
      if (const long error = CheckAlive(db, id_)) return error;
      SqliteStatement remove(db, "DELETE FROM key_values WHERE key_id = ? AND name_folded = ?");
      if (const long error = remove.Bind(id_).Bind(AsciiLower(name)).Run()) return error;
      return sqlite3_changes(db) > 0 ? kErrorSuccess : kErrorFileNotFound;
    });
  }

  long DeleteSubKey(std::string_view relative_path) override {
    std::vector<std::string> parts;
    if (const long error = SplitPath(relative_path, &parts)) return error;
    if (parts.empty()) return kErrorInvalidParameter;  // the registry would delete this key
    if (!AllowsWrite(0)) return kErrorAccessDenied;
    return connection_->Write([&](sqlite3* db) {
      RegistryRoot root{};
      std::string base;
      if (const long error = KeyLocation(db, id_, &root, &base)) return error;
      int64_t target = 0;
      std::string folded = base;
      for (const std::string& part : parts) folded = JoinFolded(folded, part);
      if (const long error = FindKey(db, root, folded, &target)) return error;
      bool has_subkeys = false;
      if (const long error = HasSubKeys(db, target, &has_subkeys)) return error;
      return has_subkeys ? kErrorAccessDenied : RemoveKey(db, target);
    });
  }

  long EnumSubKey(uint32_t index, std::string* name) override {
    if (!Allows(kKeyEnumerateSubKeys)) return kErrorAccessDenied;
    std::string read;
    const long error = connection_->Read([&](sqlite3* db) {
      if (const long error = CheckAlive(db, id_)) return error;
      SqliteStatement find(
          db, "SELECT name FROM keys WHERE parent = ? ORDER BY name_folded LIMIT 1 OFFSET ?");
      find.Bind(id_).Bind(int64_t{index});
      const bool found = find.Step();
      if (found) read = find.Text(0);
      if (find.error()) return find.error();
      return found ? kErrorSuccess : kErrorNoMoreItems;
    });
    if (error == kErrorSuccess) *name = std::move(read);
    return error;
  }

  long EnumValue(uint32_t index, std::string* name, RegistryValue* value) override {
    if (!Allows(kKeyQueryValue)) return kErrorAccessDenied;
    std::string read_name;
    RegistryValue read_value;
    const long error = connection_->Read([&](sqlite3* db) {
      if (const long error = CheckAlive(db, id_)) return error;
      SqliteStatement find(db,
                           "SELECT name, type, data FROM key_values WHERE key_id = ? "
                           "ORDER BY name_folded LIMIT 1 OFFSET ?");
      find.Bind(id_).Bind(int64_t{index});
      const bool found = find.Step();
      if (found) {
        read_name = find.Text(0);
        read_value = RegistryValue{static_cast<uint32_t>(find.Integer(1)), find.Blob(2)};
      }
      if (find.error()) return find.error();
      return found ? kErrorSuccess : kErrorNoMoreItems;
    });
    if (error == kErrorSuccess) {
      *name = std::move(read_name);
      *value = std::move(read_value);
    }
    return error;
  }

  long QueryInfo(KeyInfo* info) override {
    if (!Allows(kKeyQueryValue)) return kErrorAccessDenied;
    KeyInfo found;
    const long error = connection_->Read([&](sqlite3* db) {
      found = {};
      if (const long error = CheckAlive(db, id_)) return error;
      SqliteStatement subkeys(db, "SELECT name FROM keys WHERE parent = ?");
      for (subkeys.Bind(id_); subkeys.Step(); ++found.subkey_count) {
        found.max_subkey_name_length =
            std::max(found.max_subkey_name_length, Utf16Length(subkeys.Text(0)));
      }
      if (subkeys.error()) return subkeys.error();
      SqliteStatement values(db, "SELECT name, length(data) FROM key_values WHERE key_id = ?");
      for (values.Bind(id_); values.Step(); ++found.value_count) {
        found.max_value_name_length =
            std::max(found.max_value_name_length, Utf16Length(values.Text(0)));
        found.max_value_data_size =
            std::max(found.max_value_data_size, static_cast<uint32_t>(values.Integer(1)));
      }
      return values.error();
    });
    if (error == kErrorSuccess) *info = found;
    return error;
  }

 private:
  bool Allows(uint32_t needed) const { return (access_ & needed) == needed; }
  bool AllowsWrite(uint32_t needed) const { return Allows(needed) && !connection_->read_only(); }

  const std::shared_ptr<SqliteConnection> connection_;
  const int64_t id_;
  const uint32_t access_;
};

// --- Files ---

// One store file, opened on first use. A file that does not exist and cannot
// be made by this caller is answered by an empty read-only stand-in until it
// appears.
class StoreFile {
 public:
  StoreFile(const std::string& folder, const std::string& name, bool read_only)
      : folder_(folder), path_(JoinPath(folder, name)), read_only_(read_only) {}

  // The connection to use now. Blocks while opening the file.
  long Connection(std::shared_ptr<SqliteConnection>* connection) {
    MutexLock lock(mutex_);
    const bool settled = connection_ && !connection_->is_stand_in();
    const bool still_missing = connection_ && !settled && !Exists(path_);
    if (!settled && !still_missing) {
      std::unique_ptr<SqliteConnection> fresh;
      if (const long error = OpenFresh(&fresh)) return error;
      // A file that holds no store yet gives another stand-in; keep the first.
      if (!connection_ || !fresh->is_stand_in()) connection_ = std::move(fresh);
    }
    *connection = connection_;
    return kErrorSuccess;
  }

  // The file's change count, 0 while the file does not exist (every writer
  // counts the write that creates it); nothing when it cannot be opened or
  // has no count.
  std::optional<uint64_t> ChangeStamp() {
    std::shared_ptr<SqliteConnection> connection;
    if (Connection(&connection) != kErrorSuccess) return std::nullopt;
    if (connection->is_stand_in()) return 0;
    return connection->ChangeStamp();
  }

 private:
  // Writable when this caller may write the folder and the file, since the
  // rollback journal is made beside the file.
  bool CanWrite() const {
    if (read_only_) return false;
    if (!Exists(folder_)) CreateFolders(folder_);
    return MayWrite(folder_) && (!Exists(path_) || MayWrite(path_));
  }

  long OpenFresh(std::unique_ptr<SqliteConnection>* connection) {
    if (CanWrite()) {
      if (const long error = SqliteConnection::Open(path_, false, connection)) return error;
      if (!(*connection)->read_only()) return (*connection)->Write(CreateSchemaIfMissing);
    } else if (Exists(path_)) {
      if (const long error = SqliteConnection::Open(path_, true, connection)) return error;
    } else {
      return OpenStandIn(connection);
    }
    int64_t version = 0;
    const long error =
        (*connection)->Read([&](sqlite3* db) { return SchemaVersion(db, &version); });
    if (error) return error;
    if (version > kSchemaVersion) return kErrorBadDbFormat;
    return version == 0 ? OpenStandIn(connection) : kErrorSuccess;  // a file with no store yet
  }

  static long OpenStandIn(std::unique_ptr<SqliteConnection>* connection) {
    if (const long error = SqliteConnection::OpenEmptyStandIn(connection)) return error;
    return (*connection)->Write(CreateSchemaIfMissing);
  }

  const std::string folder_;
  const std::string path_;
  const bool read_only_;
  Mutex mutex_;
  std::shared_ptr<SqliteConnection> connection_ GUARDED_BY(mutex_);
};

// --- The store ---

class SqliteSettingsStore : public SettingsStore {
 public:
  SqliteSettingsStore(const std::string& folder, SettingsStoreOptions options,
                      const std::string& user_folder)
      : machine_(folder, "machine.db", options.read_only),
        user_(user_folder, "user-" + std::to_string(getuid()) + ".db", options.read_only) {}

  long OpenKey(RegistryRoot root, std::string_view path, uint32_t access,
               std::unique_ptr<SettingsKey>* key) override {
    return Open(root, path, access, false, key);
  }

  long CreateKey(RegistryRoot root, std::string_view path, uint32_t access,
                 std::unique_ptr<SettingsKey>* key) override {
    return Open(root, path, access, true, key);
  }

  // Both files' counts in one number, the machine's in the high half. Each
  // count grows by two per write transaction, so the halves wrap only after
  // two billion writes.
  std::optional<uint64_t> ChangeStamp() override {
    const std::optional<uint64_t> machine = machine_.ChangeStamp();
    const std::optional<uint64_t> user = user_.ChangeStamp();
    if (!machine || !user) return std::nullopt;
    return (*machine << 32) | (*user & 0xFFFFFFFFu);
  }

 private:
  StoreFile& FileFor(RegistryRoot root) {
    return root == RegistryRoot::kCurrentUser ? user_ : machine_;
  }

  long Open(RegistryRoot root, std::string_view path, uint32_t access, bool create,
            std::unique_ptr<SettingsKey>* key) {
    std::vector<std::string> parts;
    if (const long error = SplitPath(path, &parts)) return error;
    std::shared_ptr<SqliteConnection> connection;
    if (const long error = FileFor(root).Connection(&connection)) return error;
    int64_t id = 0;
    long error;
    if (create && !connection->read_only()) {
      error = connection->Write([&](sqlite3* db) { return FindOrAddPath(db, root, parts, &id); });
    } else {
      error = FindKeyCached(*connection, root, FoldedPath(parts), &id);
      // A store this caller may only read cannot grow, nor hand out write access.
      if (error == kErrorFileNotFound && create) error = kErrorAccessDenied;
      if (error == kErrorSuccess && connection->read_only() && (access & kKeyWriteAccessBits)) {
        error = kErrorAccessDenied;
      }
    }
    if (error == kErrorSuccess) *key = std::make_unique<SqliteKey>(connection, id, access);
    return error;
  }

  StoreFile machine_;
  StoreFile user_;
};

}  // namespace

std::unique_ptr<SettingsStore> MakeSqliteSettingsStore(const std::string& folder,
                                                       SettingsStoreOptions options,
                                                       const std::string& user_folder) {
  return std::make_unique<SqliteSettingsStore>(folder, options,
                                               user_folder.empty() ? folder : user_folder);
}

}  // namespace vantrel::platform
