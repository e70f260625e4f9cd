#include "sqlite.h"

#include <stdexcept>

namespace casebook::bench::sqlite {

namespace {

void check(sqlite3* database, int code) {
  if (code != SQLITE_OK && code != SQLITE_DONE && code != SQLITE_ROW)
    throw std::runtime_error{std::string{"SQLite: "} + (database ? sqlite3_errmsg(database) : sqlite3_errstr(code))};
}

void configure() {
  static bool const done = [] {
    sqlite3_config(SQLITE_CONFIG_SINGLETHREAD);
    sqlite3_config(SQLITE_CONFIG_MEMSTATUS, 0);
    return sqlite3_initialize() == SQLITE_OK;
  }();
  if (!done) throw std::runtime_error{"SQLite does not start"};
}

/// "a, b, c" of what `text` gives for each of the study's columns but the first.
template <class Text>
std::string listed(Text text, std::size_t count = studyColumns().size()) {
  std::string list;
  for (std::size_t k = 1; k < count; ++k) list += (k > 1 ? ", " : "") + text(studyColumns()[k]);
  return list;
}

int abortOnConflict(void*, int, sqlite3_changeset_iter*) { return SQLITE_CHANGESET_ABORT; }

}  // namespace

Statement::Statement(sqlite3* database, std::string const& sql) {
  sqlite3_stmt* statement = nullptr;
  check(database, sqlite3_prepare_v3(database, sql.c_str(), -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr));
  statement_.reset(statement);
}

void Statement::bind(int parameter, Variant const& value) {
  auto* const statement = statement_.get();
  switch (value.type()) {
    case Variant::Null: sqlite3_bind_null(statement, parameter); break;
    case Variant::UnsignedInteger: bind(parameter, value.longValue()); break;
    case Variant::FloatingPoint: bind(parameter, value.doubleValue()); break;
    case Variant::String: {
      auto const& text = value.stringValue();
      sqlite3_bind_text(statement, parameter, text.data(), static_cast<int>(text.size()), SQLITE_STATIC);
    }
  }
}

bool Statement::step() {
  int const code = sqlite3_step(statement_.get());
  check(sqlite3_db_handle(statement_.get()), code);
  return code == SQLITE_ROW;
}

void Statement::addTo(Checksum& checksum, int column, u64 row) noexcept {
  auto* const statement = statement_.get();
  auto const position = static_cast<u64>(column);
  switch (sqlite3_column_type(statement, column)) {
    case SQLITE_NULL: return checksum.addMissing(position, row);
    case SQLITE_TEXT: {
      auto const* const text = reinterpret_cast<char const*>(sqlite3_column_text(statement, column));
      return checksum.addText(position, row, {text, static_cast<std::size_t>(sqlite3_column_bytes(statement, column))});
    }
    default: return checksum.addNumber(position, row, number(column));
  }
}

Database::Database() {
  configure();
  sqlite3* handle = nullptr;
  check(nullptr, sqlite3_open_v2(":memory:", &handle,
                                 SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_MEMORY | SQLITE_OPEN_NOMUTEX,
                                 nullptr));
  handle_.reset(handle);
  execute(
      "PRAGMA page_size=16384; PRAGMA journal_mode=OFF; PRAGMA synchronous=OFF; PRAGMA locking_mode=EXCLUSIVE;"
      "PRAGMA temp_store=MEMORY; PRAGMA secure_delete=OFF");
}

void Database::execute(std::string const& sql) {
  check(handle(), sqlite3_exec(handle(), sql.c_str(), nullptr, nullptr, nullptr));
}

void Database::fill(std::string const& table, Sheet const& sheet) {
  std::string parameters = "?";
  for (std::size_t k = 1; k < sheet.size(); ++k) parameters += ",?";
  auto insert = prepare("INSERT INTO " + table + " VALUES(" + parameters + ")");
  execute("BEGIN");
  for (std::size_t row = 0; row < sheet.front().size(); ++row) {
    for (std::size_t column = 0; column < sheet.size(); ++column)
      insert.bind(static_cast<int>(column) + 1, sheet[column][row]);
    insert.run();
  }
  execute("COMMIT");
}

void Database::indexColumns(std::string const& table, std::size_t count) {
  for (std::size_t k = 1; k < count; ++k) {
    auto const& name = studyColumns()[k].name;
    execute("CREATE INDEX i" + name + " ON " + table + "(" + name + ")");
  }
}

u64 Database::checksum(std::string const& table) {
  auto all = prepare("SELECT * FROM " + table + " ORDER BY 1");
  Checksum checksum;
  for (u64 row = 0; all.step(); ++row)
    for (int column = 0; column < all.columns(); ++column) all.addTo(checksum, column, row);
  return checksum.value();
}

std::string columnDefinitions(std::size_t count) {
  return listed([](StudyColumn const& column) { return column.name + (column.isText() ? " TEXT" : " REAL"); }, count);
}
std::string columnNames(std::size_t count) {
  return "id, " + listed([](StudyColumn const& column) { return column.name; }, count);
}
std::string columnAssignments() {
  return listed([](StudyColumn const& column) { return column.name + " = excluded." + column.name; });
}

void Changeset::apply(Database& database, int flags) const {
  check(database.handle(),
        sqlite3changeset_apply_v2(database.handle(), size_, bytes_.get(), nullptr, abortOnConflict, nullptr, nullptr,
                                  nullptr, flags | SQLITE_CHANGESETAPPLY_NOSAVEPOINT));
}

RecordedTransaction::RecordedTransaction(Database& database, char const* table) : database_{database} {
  sqlite3_session* session = nullptr;
  check(database.handle(), sqlite3session_create(database.handle(), "main", &session));
  session_.reset(session);
  check(database.handle(), sqlite3session_attach(session, table));
  database.execute("BEGIN");
}

Changeset RecordedTransaction::commit() {
  database_.execute("COMMIT");
  int size = 0;
  void* bytes = nullptr;
  check(database_.handle(), sqlite3session_changeset(session_.get(), &size, &bytes));
  return {bytes, size};
}

}  // namespace casebook::bench::sqlite
