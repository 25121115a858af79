// Messages in SQL. nas_json(octets [, type [, positions]]) is a message's object of JSON; nas_fields(octets [, type])
// is a table of its values. Octets are a BLOB, or text in hexadecimal; without a type they tell it themselves. A bad
// message has what was read, and its object says what is wrong. Each connection has a session.
#include <sqlite3ext.h>

#include <cstring>

#include "velnor3gpp/velnor3gppJson.h"
SQLITE_EXTENSION_INIT1

// All values of the record, each with its name and its place where these are known; "$.record." has 9 characters.
static const char kFields[] = R"(WITH m(j) AS MATERIALIZED (SELECT nas_json(?1, ?2, 1)),
t AS MATERIALIZED (SELECT substr(replace(fullkey, '"', ''), 10) p, value v FROM m, json_tree(j, '$.record')
WHERE type NOT IN ('object', 'array')), f AS (SELECT value ->> 'path' p, value FROM m, json_each(j, '$.fields'))
SELECT t.p, t.v, n.v, value ->> 'octet', value ->> 'bit', value ->> 'bits', ?1, ?2 FROM t LEFT JOIN f ON f.p = t.p
LEFT JOIN t n ON n.p = t.p || '$name' WHERE t.p NOT LIKE '%$name')";

struct Table : sqlite3_vtab {
  sqlite3* base;
};
struct Scan : sqlite3_vtab_cursor {
  sqlite3_stmt* rows; // the query that a scan steps through
  ~Scan() { sqlite3_finalize(rows); }
  static sqlite3_stmt*& of(sqlite3_vtab_cursor* at) { return static_cast<Scan*>(at)->rows; }
};

// Puts the octets of a text into room for them; false if it is no hexadecimal.
static bool readHex(const char* text, size_t count, char* room)
{
  auto digit = [](char c) { return c <= '9' ? c - '0' : (c | 32) - 'a' + 10; };
  if (count % 2 || strspn(text, "0123456789abcdefABCDEF") != count) return false;
  for (size_t i = 0; i < count; i += 2) room[i / 2] = static_cast<char>(digit(text[i]) << 4 | digit(text[i + 1]));
  return true;
}

static void nasJson(sqlite3_context* context, int count, sqlite3_value** values)
{
  if (!count || sqlite3_value_type(values[0]) == SQLITE_NULL) return;
  auto* session = static_cast<velnor3gpp_Session*>(sqlite3_user_data(context));
  auto* name = count > 1 ? reinterpret_cast<const char*>(sqlite3_value_text(values[1])) : nullptr;
  const velnor3gpp_Type* type = name ? velnor3gpp_typeByName(name, nullptr) : nullptr;
  bool isText = sqlite3_value_type(values[0]) != SQLITE_BLOB;
  auto* text = static_cast<const char*>(isText ? sqlite3_value_text(values[0]) : sqlite3_value_blob(values[0]));
  auto size = static_cast<size_t>(sqlite3_value_bytes(values[0]));
  char* room = velnor3gpp_room(session, size + 200); // for octets, or for what is wrong with them
  if (!room) return sqlite3_result_error_nomem(context);
  auto* wrong = name && !type ? "nas_json: no type is called '%.40s', or several are: give its full name"
                : isText && !readHex(text, size, room) ? "nas_json: '%.40s' is not pairs of hexadecimal digits alone"
                                                       : nullptr;
  if (wrong) return sqlite3_result_error(context, sqlite3_snprintf(200, room, wrong, type || !name ? text : name), -1);
  auto* octets = reinterpret_cast<const uint8_t*>(isText ? room : text);
  velnor3gpp_decode(session, type, VELNOR3GPP_DIRECTION_UNKNOWN, octets, isText ? size / 2 : size);
  unsigned flags = VELNOR3GPP_NAMES | (count > 2 && sqlite3_value_int(values[2]) ? VELNOR3GPP_POSITIONS : 0);
  if (velnor3gpp_toJson(session, flags, &text, &size) < 0) return sqlite3_result_error_nomem(context);
  sqlite3_result_text64(context, text, size, SQLITE_TRANSIENT, SQLITE_UTF8);
}

static int connect(sqlite3* base, void*, int, const char* const*, sqlite3_vtab** table, char**)
{
  *table = new Table{{}, base};
  return sqlite3_declare_vtab(base, "CREATE TABLE x(path, value, name, octet, bit, bits, octets HIDDEN, type HIDDEN)");
}

// The arguments come as equations of the hidden columns, in any order: idxNum has two bits for each that says which
// question mark it is for. SQLite itself tests a second equation of the same column.
static int bestIndex(sqlite3_vtab*, sqlite3_index_info* info)
{
  for (int i = 0, used = 0; i < info->nConstraint; ++i) {
    auto& [column, op, usable, offset] = info->aConstraint[i];
    if (column < 6 || op != SQLITE_INDEX_CONSTRAINT_EQ || used == 2 || info->idxNum == column - 5) continue;
    if (!usable) return SQLITE_CONSTRAINT;
    info->idxNum |= (column - 5) << 2 * used;
    info->aConstraintUsage[i] = {++used, 1};
  }
  return SQLITE_OK;
}

static int next(sqlite3_vtab_cursor* at)
{
  int status = sqlite3_step(Scan::of(at));
  if (status == SQLITE_ROW || status == SQLITE_DONE) return SQLITE_OK;
  at->pVtab->zErrMsg = sqlite3_mprintf("%s", sqlite3_errmsg(static_cast<Table*>(at->pVtab)->base));
  return status;
}

static int filter(sqlite3_vtab_cursor* at, int sites, const char*, int count, sqlite3_value** values)
{
  auto*& rows = Scan::of(at);
  sqlite3_reset(rows); // a scan for each row of a join: the query is made once
  int status = rows ? SQLITE_OK : sqlite3_prepare_v2(static_cast<Table*>(at->pVtab)->base, kFields, -1, &rows, nullptr);
  for (int i = 0; !status && i < count; ++i) status = sqlite3_bind_value(rows, sites >> 2 * i & 3, values[i]);
  return status ? status : next(at);
}

// Where memory runs out while a scan begins, the program ends: these are a few octets.
static constexpr sqlite3_module kTable = {
    .xConnect = connect,
    .xBestIndex = bestIndex,
    .xDisconnect = [](sqlite3_vtab* at) { return delete static_cast<Table*>(at), SQLITE_OK; },
    .xOpen = [](sqlite3_vtab*, sqlite3_vtab_cursor** at) { return *at = new Scan{}, SQLITE_OK; },
    .xClose = [](sqlite3_vtab_cursor* at) { return delete static_cast<Scan*>(at), SQLITE_OK; },
    .xFilter = filter,
    .xNext = next,
    .xEof = [](sqlite3_vtab_cursor* at) { return int{!sqlite3_data_count(Scan::of(at))}; },
    .xColumn = [](auto at, auto c, int i) { return sqlite3_result_value(c, sqlite3_column_value(Scan::of(at), i)), 0; },
    .xRowid = [](sqlite3_vtab_cursor*, sqlite3_int64* row) { return *row = 0, SQLITE_OK; },
};

extern "C" VELNOR_API int sqlite3_extension_init(sqlite3* base, char**, const sqlite3_api_routines* api)
{
  SQLITE_EXTENSION_INIT2(api);
  velnor3gpp_Session* session = nullptr;
  if (velnor3gpp_open(&session) < 0) return SQLITE_NOMEM;
  velnor3gpp_setOption(session, VELNOR3GPP_OPTION_KEEP, 1); // as the program reads real messages
  velnor3gpp_setOption(session, VELNOR3GPP_OPTION_STANDARD, 1);
  sqlite3_create_module(base, "nas_fields", &kTable, nullptr);
  // Indexes and generated columns may use it.
  return sqlite3_create_function_v2(base, "nas_json", -1, SQLITE_UTF8 | SQLITE_DETERMINISTIC, session, nasJson, nullptr,
                                    nullptr, [](void* s) { velnor3gpp_close(static_cast<velnor3gpp_Session*>(s)); });
}
