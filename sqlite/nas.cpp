// Messages in SQL. nas_json(octets [, type [, positions]]) is a message's object of JSON; nas_fields(octets [, type])
// is a table of its values. Octets are a BLOB, or text in hexadecimal; without a type they tell it themselves. A bad
// message has what was read, and its object says what is wrong. Each connection has a session.
#include <sqlite3ext.h>

#include <cstdio>
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
struct Cursor : sqlite3_vtab_cursor {
  sqlite3_stmt* rows; // the query that a scan steps through
  ~Cursor() { sqlite3_finalize(rows); }
};

// The octets of a text, to be freed with sqlite3_free; null if it is no hexadecimal.
static uint8_t* octetsOf(const char* text, size_t count)
{
  bool whole = count % 2 == 0 && strspn(text, "0123456789abcdefABCDEF") == count;
  auto* octets = whole ? static_cast<uint8_t*>(sqlite3_malloc64(count / 2 + 1)) : nullptr;
  for (size_t i = 0; octets && i < count; i += 2) sscanf(text + i, "%2hhx", octets + i / 2);
  return octets;
}

static void nasJson(sqlite3_context* context, int count, sqlite3_value** values)
{
  if (!count || sqlite3_value_type(values[0]) == SQLITE_NULL) return;
  auto* session = static_cast<velnor3gpp_Session*>(sqlite3_user_data(context));
  auto* name = count > 1 ? reinterpret_cast<const char*>(sqlite3_value_text(values[1])) : nullptr;
  const velnor3gpp_Type* type = name ? velnor3gpp_typeByName(name, nullptr) : nullptr;
  auto refuse = [context, words = velnor3gpp_room(session, 200)](const char* format, const void* what) {
    sqlite3_result_error(context, words ? sqlite3_snprintf(200, words, format, what) : "nas_json: out of memory", -1);
  };
  if (name && !type) return refuse("nas_json: no type is called '%.40s', or several are: give its full name", name);
  bool isText = sqlite3_value_type(values[0]) != SQLITE_BLOB;
  auto* given = static_cast<const uint8_t*>(isText ? sqlite3_value_text(values[0]) : sqlite3_value_blob(values[0]));
  auto size = static_cast<size_t>(sqlite3_value_bytes(values[0]));
  uint8_t* read = isText ? octetsOf(reinterpret_cast<const char*>(given), size) : nullptr;
  if (isText && !read) return refuse("nas_json: '%.40s' is not pairs of hexadecimal digits alone", given);
  velnor3gpp_decode(session, type, VELNOR3GPP_DIRECTION_UNKNOWN, isText ? read : given, isText ? size / 2 : size);
  sqlite3_free(read);
  const char* text = nullptr;
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
  int status = sqlite3_step(static_cast<Cursor*>(at)->rows);
  if (status == SQLITE_ROW || status == SQLITE_DONE) return SQLITE_OK;
  at->pVtab->zErrMsg = sqlite3_mprintf("%s", sqlite3_errmsg(static_cast<Table*>(at->pVtab)->base));
  return status;
}

static int filter(sqlite3_vtab_cursor* at, int sites, const char*, int count, sqlite3_value** values)
{
  auto*& rows = static_cast<Cursor*>(at)->rows;
  sqlite3_reset(rows); // a scan for each row of a join: the query is made once
  int status = rows ? SQLITE_OK : sqlite3_prepare_v2(static_cast<Table*>(at->pVtab)->base, kFields, -1, &rows, nullptr);
  for (int i = 0; status == SQLITE_OK && i < count; ++i)
    status = sqlite3_bind_value(rows, sites >> 2 * i & 3, values[i]);
  return status == SQLITE_OK ? next(at) : status;
}

// Where memory runs out while a scan begins, the program ends: these are a few octets.
static constexpr sqlite3_module kTable = {
    .xConnect = connect,
    .xBestIndex = bestIndex,
    .xDisconnect = [](sqlite3_vtab* at) { return delete static_cast<Table*>(at), SQLITE_OK; },
    .xOpen = [](sqlite3_vtab*, sqlite3_vtab_cursor** at) { return *at = new Cursor{}, SQLITE_OK; },
    .xClose = [](sqlite3_vtab_cursor* at) { return delete static_cast<Cursor*>(at), SQLITE_OK; },
    .xFilter = filter,
    .xNext = next,
    .xEof = [](sqlite3_vtab_cursor* at) { return int{!sqlite3_data_count(static_cast<Cursor*>(at)->rows)}; },
    .xColumn =
        [](sqlite3_vtab_cursor* at, sqlite3_context* to, int i) {
          return sqlite3_result_value(to, sqlite3_column_value(static_cast<Cursor*>(at)->rows, i)), SQLITE_OK;
        },
    .xRowid = [](sqlite3_vtab_cursor*, sqlite3_int64* row) { return *row = 0, SQLITE_OK; },
};

extern "C" VELNOR_API int sqlite3_extension_init(sqlite3* base, char**, const sqlite3_api_routines* api)
{
  SQLITE_EXTENSION_INIT2(api);
  velnor3gpp_Session* session = nullptr;
  if (velnor3gpp_open(&session) < 0) return SQLITE_NOMEM;
  velnor3gpp_setOption(session, VELNOR3GPP_OPTION_KEEP, 1); // as the program reads real messages
  velnor3gpp_setOption(session, VELNOR3GPP_OPTION_STANDARD, 1);
  auto close = [](void* used) { velnor3gpp_close(static_cast<velnor3gpp_Session*>(used)); };
  sqlite3_create_module(base, "nas_fields", &kTable, nullptr);
  // Indexes and generated columns may use it.
  return sqlite3_create_function_v2(base, "nas_json", -1, SQLITE_UTF8 | SQLITE_DETERMINISTIC, session, nasJson, nullptr,
                                    nullptr, close);
}
