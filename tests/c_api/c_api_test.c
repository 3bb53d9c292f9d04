/* Uses every function of orvx.h from plain C over the sample database and
 * damaged ones. On Windows it also loads orvx.dll by name and finds each
 * function under its plain name.
 * Usage: c_api_test SAMPLE_DB SCRATCH_DIR */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "orvx/orvx.h"

#if defined(_WIN32)
#include <windows.h>
#endif

static int failures;
#define CHECK(cond)                                                          \
  do {                                                                       \
    if (!(cond)) {                                                           \
      fprintf(stderr, "%s:%d: check failed: %s\n", __FILE__, __LINE__, #cond); \
      ++failures;                                                            \
    }                                                                        \
  } while (0)

#define ORVX_C_FUNCTIONS(X)                                                                               \
  X(orvx_version) X(orvx_version_number) X(orvx_db_open_file) X(orvx_db_open_memory) X(orvx_db_close)    \
  X(orvx_db_count) X(orvx_db_record) X(orvx_db_lookup) X(orvx_match_name) X(orvx_record_name)            \
  X(orvx_record_vendor_id) X(orvx_record_model_group_id) X(orvx_record_based_model_group_id)             \
  X(orvx_record_icon_index) X(orvx_record_flags) X(orvx_flag_count) X(orvx_flag_name) X(orvx_flag_bit)    \
  X(orvx_record_flag) X(orvx_record_flag_by_name) X(orvx_record_info) X(orvx_field_count) X(orvx_field_name) \
  X(orvx_field_width) X(orvx_record_field) X(orvx_record_field_by_name) X(orvx_record_find_size_list)      \
  X(orvx_record_find_size_list_named) X(orvx_record_size_list) X(orvx_record_size_list_named)             \
  X(orvx_record_size_list_block) X(orvx_picture_id) X(orvx_picture_id_ex) X(orvx_picture_id_names)       \
  X(orvx_picture_id_ex_names) X(orvx_host_set_string) X(orvx_host_clear_strings) X(orvx_host_set_app_name) \
  X(orvx_host_set_registry_key) X(orvx_host_set_registry_file) X(orvx_check_model) X(orvx_comm_config_save) \
  X(orvx_comm_config_load) X(orvx_picture) X(orvx_trace_rule) X(orvx_trace_count) X(orvx_trace_step_at)       \
  X(orvx_trace_free) X(orvx_rule_for) X(orvx_rule_row_count) X(orvx_rule_row_at) X(orvx_record_size_list_count) \
  X(orvx_record_size_list_at) X(orvx_tray_init) X(orvx_status_text)         \
  X(orvx_manual_tray_string_id) X(orvx_default_tray_string_id) X(orvx_picture_step_name) X(orvx_db_set)      \
  X(orvx_db_set_field) X(orvx_db_set_field_by_name) X(orvx_db_set_flag) X(orvx_db_set_name)                 \
  X(orvx_db_set_size_lists) X(orvx_db_insert) X(orvx_db_remove) X(orvx_db_move) X(orvx_db_write)            \
  X(orvx_db_save) X(orvx_db_json) X(orvx_record_json)

static unsigned char* read_file(const char* path, size_t* size) {
  FILE* f = fopen(path, "rb");
  unsigned char* data;
  long n;
  if (!f) return NULL;
  fseek(f, 0, SEEK_END);
  n = ftell(f);
  fseek(f, 0, SEEK_SET);
  data = (unsigned char*)malloc((size_t)n);
  *size = data ? fread(data, 1, (size_t)n, f) : 0;
  fclose(f);
  return data;
}

static void write_file(const char* path, const void* data, size_t size) {
  FILE* f = fopen(path, "wb");
  CHECK(f != NULL);
  if (!f) return;
  CHECK(fwrite(data, 1, size, f) == size);
  fclose(f);
}

static void test_exports(void) {
#if defined(_WIN32)
  HMODULE dll = LoadLibraryA("orvx.dll");
  CHECK(dll != NULL);
#define CHECK_EXPORT(f) CHECK((void (*)(void))GetProcAddress(dll, #f) == (void (*)(void))f);
  ORVX_C_FUNCTIONS(CHECK_EXPORT)
#undef CHECK_EXPORT
  CHECK(FreeLibrary(dll));
#endif
}

static void test_version(void) {
  char expected[32];
  sprintf(expected, "%u.%u.%u", (unsigned)(orvx_version_number() / 10000), (unsigned)(orvx_version_number() / 100 % 100),
          (unsigned)(orvx_version_number() % 100));
  CHECK(strcmp(orvx_version(), expected) == 0);
  CHECK(strcmp(orvx_version(), ORVX_VERSION_STRING) == 0);
}

static void test_failed_opens(const unsigned char* sample, size_t size, const char* scratch) {
  static const unsigned char negative_count[] = {0xFF, 0xFF, 0xFF, 0xFF};
  char path[1024];
  orvx_error err;
  orvx_db* db = (orvx_db*)&err; /* must be reset to NULL on failure */

  CHECK(orvx_db_open_file("/no/such/dir/ORVDB.dat", &db, &err) == ORVX_E_NOT_FOUND);
  CHECK(db == NULL && err.status == ORVX_E_NOT_FOUND && strstr(err.message, "ORVDB.dat") != NULL);

  CHECK(orvx_db_open_memory(sample, size - 5, &db, &err) == ORVX_E_FORMAT);
  CHECK(db == NULL && err.offset == size - 5 && strstr(err.message, "ends early") != NULL);
  CHECK(orvx_db_open_memory(negative_count, sizeof negative_count, &db, &err) == ORVX_E_FORMAT);
  CHECK(orvx_db_open_memory(NULL, 0, &db, &err) == ORVX_E_FORMAT && err.offset == 0);

  sprintf(path, "%s/truncated.dat", scratch);
  write_file(path, sample, 100);
  CHECK(orvx_db_open_file(path, &db, NULL) == ORVX_E_FORMAT && db == NULL);

  CHECK(orvx_db_open_file(path, NULL, &err) == ORVX_E_ARGUMENT);
  CHECK(orvx_db_open_file(scratch, &db, &err) == ORVX_E_NOT_REGULAR && db == NULL);
  orvx_db_close(NULL);
  CHECK(orvx_db_count(NULL) == 0 && orvx_db_record(NULL, 0) == NULL);
}

static void test_records(orvx_db* db) {
  int how = -1;
  size_t index = 99, length = 0;
  int32_t value = 0;
  unsigned char list[256];
  orvx_record* r = orvx_db_lookup(db, "Vantor LP-1200", &how, &index);
  orvx_record* other;

  CHECK(orvx_db_count(db) == 59);
  CHECK(r != NULL && r == orvx_db_record(db, 2) && index == 2 && how == ORVX_MATCH_EXACT);
  CHECK(orvx_db_lookup(db, "Vantor LP-1200 PCL6", &how, &index) == r && how == ORVX_MATCH_SUBSTRING);
  other = orvx_db_lookup(db, "No such printer", &how, &index);
  CHECK(other == orvx_db_record(db, 0) && index == 0 && how == ORVX_MATCH_DEFAULT);
  CHECK(orvx_db_lookup(db, "Vantor LP-1200", NULL, NULL) == r);
  CHECK(orvx_db_lookup(db, NULL, NULL, NULL) == NULL);
  CHECK(orvx_db_record(db, 59) == NULL);
  CHECK(strcmp(orvx_match_name(ORVX_MATCH_HP), "hp") == 0 && orvx_match_name(4) == NULL && orvx_match_name(-1) == NULL);

  CHECK(strcmp(orvx_record_name(r, &length), "Vantor LP-1200") == 0 && length == 14);
  CHECK(orvx_record_vendor_id(r) == 1 && orvx_record_model_group_id(r) == 2);
  CHECK(orvx_record_based_model_group_id(r) == 2 && orvx_record_icon_index(r) == 11);
  CHECK(orvx_record_flags(r) == 81);

  /* 81 = IXDuplexer | IsOldTypePrinter | IsVantorPrinter */
  CHECK(orvx_flag_count() == 13 && orvx_flag_bit(4) == 16 && orvx_record_flag(r, 4) == 1 && orvx_record_flag(r, 5) == 0);
  CHECK(strcmp(orvx_flag_name(3), "IsColorPrinter") == 0 && orvx_flag_name(13) == NULL && orvx_flag_bit(13) == 0);
  CHECK(orvx_record_flag(r, 13) == -1);

  CHECK(orvx_record_info(r, 0x0D08, &value) == ORVX_OK && value == 900);
  CHECK(orvx_record_info(r, 0x0105, &value) == ORVX_OK && value == -1);
  CHECK(orvx_record_info(r, 0x1200000, &value) == ORVX_OK && value == 16777218);
  CHECK(orvx_record_info(r, 0x0D08, NULL) == ORVX_E_ARGUMENT);

  /* "Multi Purpose Tray" lists sizes 1 2 3 7 9; names compare without case. */
  memset(list, 0xEE, sizeof list);
  CHECK(orvx_record_size_list_named(r, "multi purpose TRAY", list, sizeof list) == 5);
  CHECK(memcmp(list, "\1\2\3\7\11", 5) == 0);
  CHECK(orvx_record_size_list_named(r, "Cassette 1", NULL, 0) == 3);
  memset(list, 0xEE, sizeof list);
  CHECK(orvx_record_size_list_named(r, "Cassette 1", list, 2) == 3 && list[0] == 0xEE); /* too small: no copy */
  CHECK(orvx_record_size_list_named(r, "Cassette 9", list, sizeof list) == 0);
  CHECK(orvx_record_size_list_block(r, list, sizeof list) == 43 && list[0] == 43);
  other = orvx_db_record(db, 1); /* numbered lists: tray 1 {1 2 4 5} */
  CHECK(orvx_record_size_list(other, 1, list, sizeof list) == 4 && memcmp(list, "\1\2\4\5", 4) == 0);
  CHECK(orvx_record_size_list(NULL, 1, list, sizeof list) == 0);
}

/* Every failing call leaves its out-parameters as documented, whatever they
 * held before: each row starts from garbage. */
static void test_failed_calls(orvx_db* db) {
  const orvx_record* r = orvx_db_record(db, 2);
  orvx_error err;
  orvx_db* h;
  int how;
  size_t index, n;
  int32_t v32;
  int64_t v64;
  uint32_t u32;
  unsigned char buf[4];
#define ROW(want, call, outs)                                                                         \
  memset(&err, 0x55, sizeof err), memset(buf, 0xEE, sizeof buf), h = (orvx_db*)&err;                  \
  how = 77, index = n = 77, v32 = 77, v64 = 77, u32 = 77;                                             \
  CHECK((call) == (want) && (outs))
  ROW(ORVX_E_ARGUMENT, orvx_db_open_file(NULL, &h, &err), h == NULL && err.status == ORVX_E_ARGUMENT);
  ROW(ORVX_E_ARGUMENT, orvx_db_open_memory(NULL, 10, &h, &err), h == NULL && err.status == ORVX_E_ARGUMENT);
  ROW(NULL, orvx_db_lookup(NULL, "x", &how, &index), how == ORVX_MATCH_DEFAULT && index == 0);
  ROW(NULL, orvx_db_lookup(db, NULL, &how, &index), how == ORVX_MATCH_DEFAULT && index == 0);
  ROW(NULL, orvx_record_name(NULL, &n), n == 0);
  ROW(ORVX_E_ARGUMENT, orvx_record_info(NULL, 0x0D08, &v32), v32 == -1);
  ROW(ORVX_E_NOT_FOUND, orvx_record_info(r, 0x9999, &v32), v32 == -1);
  ROW(ORVX_E_ARGUMENT, orvx_record_field(NULL, 0, &v64), v64 == 0);
  ROW(ORVX_E_NOT_FOUND, orvx_record_field(r, 57, &v64), v64 == 0);
  ROW(ORVX_E_NOT_FOUND, orvx_record_field_by_name(r, "Info9999", &v64), v64 == 0);
  ROW(ORVX_E_ARGUMENT, orvx_record_field_by_name(r, NULL, &v64), v64 == 0);
  ROW(ORVX_E_ARGUMENT, orvx_record_find_size_list(r, 300, buf, sizeof buf, &n), n == 0 && buf[0] == 0xEE);
  ROW(ORVX_E_NOT_FOUND, orvx_record_find_size_list(r, 9, buf, sizeof buf, &n), n == 0 && buf[0] == 0xEE);
  ROW(ORVX_E_NOT_FOUND, orvx_record_find_size_list_named(r, "Cassette 9", buf, sizeof buf, &n), n == 0);
  ROW(ORVX_E_ARGUMENT, orvx_record_find_size_list_named(r, "Multi Purpose Tray", buf, sizeof buf, &n),
      n == 5 && buf[0] == 0xEE); /* too small: the length, nothing copied */
  ROW(-1, orvx_record_flag(NULL, 0), 1);
  ROW(-1, orvx_record_flag_by_name(r, "IsColourPrinter"), 1);
  ROW(-1, orvx_record_flag_by_name(NULL, "IsColorPrinter"), 1);
  ROW(ORVX_E_ARGUMENT, orvx_check_model(NULL, NULL, 1, &u32, &err), u32 == ORVX_NOT_SUPPORTED && err.status == ORVX_E_ARGUMENT);
  ROW(ORVX_E_ARGUMENT, orvx_comm_config_load(0x30, NULL, 10, &n, &err), n == 0 && err.status == ORVX_E_ARGUMENT);
#undef ROW
}

/* Fields and flags by name and index; a tray listed without sizes is told
 * from one not listed. */
static void test_fields_and_lists(orvx_db* db) {
  /* One record: tray 2 lists 41 42, tray 5 nothing. */
  static const unsigned char block[] = {7, 2, 2, 0x41, 0x42, 5, 0};
  unsigned char data[4 + 2 + 71 + sizeof block + 10], list[8];
  const orvx_record* r = orvx_db_record(db, 2);
  orvx_db* one = NULL;
  size_t i, n = 0;
  int64_t value = 0, n64 = 1;

  CHECK(ORVX_FLAG_IsColorPrinter == 0x0008 && ORVX_FLAG_IsVantorSelbyTidelinePrinter == 0x1000);
  for (i = 0; i < orvx_flag_count(); ++i)
    CHECK(orvx_record_flag_by_name(r, orvx_flag_name(i)) == orvx_record_flag(r, i));

  CHECK(orvx_field_count() == 57 && strcmp(orvx_field_name(0), "VenderID") == 0 && orvx_field_width(0) == 2);
  CHECK(orvx_record_field_by_name(r, "Info0D08", &value) == ORVX_OK && value == 900);
  for (i = 0; i < orvx_field_count(); ++i) /* Flags (index 4): 81, four bytes */
    CHECK(orvx_record_field(r, i, &value) == ORVX_OK && orvx_record_field_by_name(r, orvx_field_name(i), &n64) == ORVX_OK &&
          n64 == value && (i != 4 || (value == 81 && orvx_field_width(i) == 4)));

  memset(data, 0, sizeof data);
  data[0] = 1;
  data[4] = 1, data[5] = 'A'; /* the name */
  memcpy(data + 4 + 2 + 71, block, sizeof block);
  CHECK(orvx_db_open_memory(data, sizeof data, &one, NULL) == ORVX_OK);
  r = orvx_db_record(one, 0);
  CHECK(orvx_record_find_size_list(r, 2, list, sizeof list, &n) == ORVX_OK && n == 2 && memcmp(list, "AB", 2) == 0);
  CHECK(orvx_record_find_size_list(r, 5, NULL, 0, &n) == ORVX_OK && n == 0);
  CHECK(orvx_record_find_size_list(r, 3, list, sizeof list, &n) == ORVX_E_NOT_FOUND && n == 0);
  orvx_db_close(one);
}

/* The tray walk, a row per entry: the sample's named lists, and a block with
 * a duplicate tray, a key-10 entry without a name (tray 10, as the getter by
 * number reads it) and a last entry that runs past the end. */
static void test_size_list_walk(orvx_db* db) {
  static const unsigned char block[] = {19, 10, 3, 'A', 0, 7, 4, 1, 9, 4, 1, 8, 10, 2, 'B', 'C', 6, 5, 1};
  static const struct { int own; size_t record, count, at; int status, tray; const char *name, *sizes; } rows[] = {
      {0, 2, 2, 1, ORVX_OK, -1, "Multi Purpose Tray", "\1\2\3\7\11"}, {0, 0, 0, 0, ORVX_E_NOT_FOUND, -1, "", ""},
      {1, 0, 4, 0, ORVX_OK, -1, "A", "\7"}, {1, 0, 4, 2, ORVX_OK, 4, "", "\10"}, {1, 0, 4, 3, ORVX_OK, 10, "", "BC"},
      {1, 0, 4, 4, ORVX_E_NOT_FOUND, -1, "", ""}};
  unsigned char data[4 + 2 + 71 + sizeof block + 10] = {1, 0, 0, 0, 1, 'W'};
  orvx_db* one = NULL;
  orvx_size_list list;
  orvx_tray t;
  size_t i;

  memcpy(data + 4 + 2 + 71, block, sizeof block);
  CHECK(orvx_db_open_memory(data, sizeof data, &one, NULL) == ORVX_OK);
  for (i = 0; i < sizeof rows / sizeof rows[0]; ++i) {
    const orvx_record* r = rows[i].own ? orvx_db_record(one, 0) : orvx_db_record(db, rows[i].record);
    memset(&list, 0x5A, sizeof list);
    CHECK(orvx_record_size_list_count(r) == rows[i].count && orvx_record_size_list_at(r, rows[i].at, &list) == rows[i].status &&
          list.tray == rows[i].tray && strcmp(list.name, rows[i].name) == 0 && list.size_count == strlen(rows[i].sizes) &&
          memcmp(list.sizes, rows[i].sizes, list.size_count) == 0);
  }
  CHECK(orvx_record_size_list_at(NULL, 0, &list) == ORVX_E_ARGUMENT && list.size_count == 0);
  orvx_db_close(one);

  /* A new tray, whatever the memory held: ID -1 (a rule that does not know
   * the tray leaves it so), delivery 2. */
  memset(&t, 0x5A, sizeof t);
  orvx_tray_init(&t, "Mystery Tray");
  CHECK(t.id == -1 && t.add_unit == 0 && t.delivery == 2 && t.final_name_length == 0 && t.final_name[0] == '\0');
}

/* What the cross-face picture test (tests/faces) cannot say: a cut name,
 * the rule rows' literals as C arrays, and refused arguments. */
static void test_pictures(orvx_db* db) {
  const orvx_record* r = orvx_db_lookup(db, "Vantor LP-1200", NULL, NULL);
  const char* names[] = {"Cassette 1"};
  char long_name[300];
  orvx_tray in[1];
  orvx_picture_call call;
  orvx_trace* trace = NULL;
  orvx_rule_row row;
  uint32_t id = 1, fixed = 1;
  orvx_error err;

  memset(long_name, 'x', sizeof long_name - 1);
  long_name[sizeof long_name - 1] = '\0';
  orvx_tray_init(&in[0], long_name);
  CHECK(orvx_picture_id_ex(r, in, 1, NULL, 0, NULL, 0, NULL, 0, &id, &err) == ORVX_OK && id == 0);
  CHECK(in[0].final_name_length == 299 && strlen(in[0].final_name) == ORVX_TRAY_NAME_SIZE - 1 && in[0].id == -1);

  CHECK(orvx_rule_for(2, 5, 0, &fixed) == NULL && fixed == 0x800);
  CHECK(orvx_rule_row_count("GetOptionFlagEx_Nightjar") > 8 && orvx_rule_row_count("nothing") == 0);
  CHECK(orvx_rule_row_at("GetOptionFlagEx_Nightjar", 0, &row) == ORVX_OK && row.table == ORVX_STEP_OPTION &&
        row.literal_count == 3 && strcmp(row.literals[1], "HH-418") == 0 && row.bits == 0x10000 && row.id == -1);
  CHECK(orvx_rule_row_at("GetOptionFlagEx_Nightjar", 1000, &row) == ORVX_E_ARGUMENT &&
        orvx_rule_row_at(NULL, 0, &row) == ORVX_E_ARGUMENT && orvx_rule_row_at("GetOptionFlagEx_Nightjar", 0, NULL) == ORVX_E_ARGUMENT);
  CHECK(strcmp(orvx_picture_step_name(ORVX_STEP_IN_TRAY), "in-tray") == 0 && orvx_picture_step_name(ORVX_STEP_RULE + 1) == NULL);

  CHECK(orvx_picture_id(NULL, NULL, 0, NULL, 0, 0, 0, &id, &err) == ORVX_E_ARGUMENT && err.status == ORVX_E_ARGUMENT);
  CHECK(orvx_picture_id(r, NULL, 1, NULL, 0, 0, 0, &id, &err) == ORVX_E_ARGUMENT);
  CHECK(orvx_picture_id_ex_names(r, names, 1, NULL, 1, NULL, 0, NULL, 0, &id, &err) == ORVX_E_ARGUMENT);
  CHECK(orvx_picture_id_names(r, names, 1, names, 1, 0, 0, NULL, &err) == ORVX_E_ARGUMENT);
  memset(&call, 0, sizeof call);
  call.option_count = 1; /* GetPictureID reads no unit names, but they are checked all the same */
  CHECK(orvx_picture(r, &call, &id, &trace, NULL) == ORVX_E_ARGUMENT && id == 0 && trace == NULL);
  call.option_count = 0;
  call.in = in;
  call.in_count = 1;
  in[0].name = NULL;
  CHECK(orvx_picture(r, &call, &id, &trace, NULL) == ORVX_E_ARGUMENT && id == 0 && trace == NULL);
  CHECK(orvx_picture(r, NULL, &id, &trace, NULL) == ORVX_E_ARGUMENT && trace == NULL);
}

static void test_registry(const char* scratch) {
  static const char store[] =
      "Windows Registry Editor Version 5.00\r\n\r\n"
      "[HKEY_LOCAL_MACHINE\\SOFTWARE\\orvx-c-test\\Supported Models]\r\n"
      "\"LP-1200\"=dword:01000100\r\n";
  unsigned char config[64], back[ORVX_COMM_CONFIG_MAX];
  uint32_t result = 1;
  size_t size = 0;
  char hklm[1024], hkcu[1024];
  orvx_error err;

  sprintf(hklm, "%s/hklm.reg", scratch);
  sprintf(hkcu, "%s/hkcu.reg", scratch);
  remove(hkcu);
#if defined(_WIN32)
  CHECK(orvx_host_set_registry_file(ORVX_HIVE_LOCAL_MACHINE, hklm) == ORVX_E_UNSUPPORTED);
  (void)store;
#else
  write_file(hklm, store, sizeof store - 1);
  CHECK(orvx_host_set_registry_file(ORVX_HIVE_LOCAL_MACHINE, hklm) == ORVX_OK);
  CHECK(orvx_host_set_registry_file(ORVX_HIVE_CURRENT_USER, hkcu) == ORVX_OK);
  CHECK(orvx_host_set_registry_file(7, hkcu) == ORVX_E_ARGUMENT);
  CHECK(orvx_check_model("SOFTWARE\\orvx-c-test", "LP-1200", 1, &result, &err) == ORVX_OK && result == ORVX_SUPPORTED);
#endif
  CHECK(orvx_check_model("SOFTWARE\\orvx-c-test", "LP-9999", 1, &result, &err) == ORVX_OK &&
        result == ORVX_NOT_SUPPORTED);

  CHECK(orvx_host_set_registry_key("orvx-c-test") == ORVX_OK && orvx_host_set_app_name("Monitor") == ORVX_OK);
  CHECK(orvx_host_set_app_name(NULL) == ORVX_E_ARGUMENT && orvx_host_set_registry_key(NULL) == ORVX_E_ARGUMENT);
  memset(config, 0x5A, sizeof config);
  config[0] = sizeof config; /* dwSize, little-endian */
  config[1] = config[2] = config[3] = 0;
  CHECK(orvx_comm_config_save(0x30, config, sizeof config, &err) == ORVX_OK);
  CHECK(orvx_comm_config_load(0x30, back, sizeof back, &size, &err) == ORVX_OK && size == sizeof config);
  CHECK(memcmp(back, config, sizeof config) == 0);
  CHECK(orvx_comm_config_load(0x30, back, 10, &size, &err) == ORVX_E_ARGUMENT && size == sizeof config);
  CHECK(orvx_comm_config_load(0x70, back, sizeof back, &size, &err) == ORVX_E_NOT_FOUND && size == 0);
  CHECK(orvx_comm_config_save(0x30, config, 10, &err) == ORVX_E_ARGUMENT); /* dwSize disagrees */
  CHECK(orvx_comm_config_save(0x30, config, 300, &err) == ORVX_E_ARGUMENT);
  CHECK(orvx_comm_config_save(0x30, NULL, 64, &err) == ORVX_E_ARGUMENT);
  CHECK(orvx_comm_config_save(0x40, "\4\0\0\0", 4, &err) == ORVX_OK && /* no shorter than its dwSize */
        orvx_comm_config_save(0x40, "\3\0\0", 3, &err) == ORVX_E_ARGUMENT);
#if !defined(_WIN32)
  write_file(hkcu, "nonsense\n", 9); /* a malformed store says where, and is not written */
  CHECK(orvx_comm_config_load(0x30, back, sizeof back, &size, &err) == ORVX_E_BAD_STORE && err.offset == 1 &&
        strstr(err.message, "hkcu.reg:1: ") != NULL);
  CHECK(orvx_comm_config_save(0x30, config, sizeof config, &err) == ORVX_E_BAD_STORE);
#endif
}

/* Edits of a database opened from memory: a refused one changes nothing
 * (the bytes written are still the opened ones); the typed setters store
 * what they say; what a save writes opens again. */
static void test_editing(const unsigned char* sample, size_t size, const char* scratch) {
  orvx_db* db = NULL;
  orvx_db* saved = NULL;
  orvx_error err;
  orvx_size_list lists[2];
  unsigned char* bytes = malloc(size + 1);
  unsigned char* json;
  size_t n = 0, length = 0;
  int64_t value = 0;
  char path[512];
  orvx_record* moved;
  CHECK(orvx_db_open_memory(sample, size, &db, &err) == ORVX_OK);
  moved = orvx_db_record(db, 3);
  CHECK(orvx_db_set_field_by_name(db, 1, "Info0301", 300, &err) == ORVX_E_ARGUMENT &&
        strcmp(err.message, "model 1 (\"Vantor LP-1100\"), key \"Info0301\": 300 is out of range for a 8-bit signed field") == 0);
  CHECK(orvx_db_set_field(db, 1, 8, -129, &err) == ORVX_E_ARGUMENT && strstr(err.message, "-129 is out of range") != NULL);
  CHECK(orvx_db_set_field(db, 1, 57, 0, &err) == ORVX_E_NOT_FOUND && orvx_db_set_flag(db, 1, "IsBlue", 1, &err) == ORVX_E_NOT_FOUND);
  CHECK(orvx_db_set(db, 59, "Info0301", "1", &err) == ORVX_E_NOT_FOUND && orvx_db_set(db, 1, "Info0301", "1.5", &err) == ORVX_E_ARGUMENT);
  memset(lists, 0, sizeof lists);
  lists[0].tray = 1;
  lists[0].size_count = 200;
  lists[1].tray = -1;
  strcpy(lists[1].name, "Cassette");
  lists[1].size_count = 60;
  CHECK(orvx_db_set_size_lists(db, 1, lists, 2, &err) == ORVX_E_ARGUMENT && strstr(err.message, "entry 1: the block grows to 274") != NULL);
  lists[0].size_count = 257;
  CHECK(orvx_db_set_size_lists(db, 1, lists, 1, &err) == ORVX_E_ARGUMENT && strstr(err.message, "model 1 (\"Vantor LP-1100\"), key \"InTraySPSZSizeList\": entry 0: the block grows to 259") != NULL);
  lists[0].size_count = 200;
  CHECK(orvx_db_write(db, bytes, size, &n, &err) == ORVX_OK && n == size && memcmp(bytes, sample, size) == 0);

  CHECK(orvx_db_set_field(db, 1, 8, -1, &err) == ORVX_OK && orvx_record_field(orvx_db_record(db, 1), 8, &value) == ORVX_OK && value == -1);
  CHECK(orvx_db_set_name(db, 1, "A\xff", 2, &err) == ORVX_OK && orvx_db_lookup(db, "A\xff", NULL, &n) && n == 1);
  lists[1].size_count = 2;
  CHECK(orvx_db_set_size_lists(db, 1, lists + 1, 1, &err) == ORVX_OK && orvx_record_size_list_named(orvx_db_record(db, 1), "cassette", NULL, 0) == 2);
  CHECK(orvx_db_insert(db, 59, orvx_db_record(db, 2), &err) == ORVX_OK && orvx_db_count(db) == 60);
  CHECK(orvx_db_move(db, 3, 0, &err) == ORVX_OK && orvx_db_record(db, 0) == moved && orvx_db_move(db, 0, 60, &err) == ORVX_E_NOT_FOUND);
  CHECK(orvx_db_write(db, bytes, size, &n, &err) == ORVX_E_ARGUMENT && n > size);
  snprintf(path, sizeof path, "%s/edited.json", scratch);
  CHECK(orvx_db_save(db, path, ORVX_FORM_JSON, &err) == ORVX_OK && orvx_db_json(db, NULL, 0, &n, &err) == ORVX_OK);
  json = read_file(path, &length);
  CHECK(json != NULL && length == n && memcmp(json, "{\"models\": [", 12) == 0);
  free(json);
  CHECK(orvx_db_save(db, scratch, ORVX_FORM_DAT, &err) == ORVX_E_NOT_REGULAR);
  snprintf(path, sizeof path, "%s/edited.dat", scratch);
  CHECK(orvx_db_save(db, path, ORVX_FORM_DAT, &err) == ORVX_OK && orvx_db_open_file(path, &saved, &err) == ORVX_OK &&
        orvx_db_count(saved) == 60 && orvx_record_size_list_count(orvx_db_record(saved, 2)) == 1);
  orvx_db_close(saved);
  orvx_db_close(db);
  free(bytes);
}

int main(int argc, char** argv) {
  size_t size = 0;
  unsigned char* sample;
  orvx_db* db = NULL;
  orvx_db* copy = NULL;
  orvx_error err;

  if (argc != 3) {
    fprintf(stderr, "usage: c_api_test SAMPLE_DB SCRATCH_DIR\n");
    return 2;
  }
  sample = read_file(argv[1], &size);
  CHECK(sample != NULL && size > 100);
  if (!sample) return 1;

  test_exports();
  test_version();
  test_failed_opens(sample, size, argv[2]);

  CHECK(orvx_db_open_file(argv[1], &db, &err) == ORVX_OK && err.status == ORVX_OK && err.message[0] == '\0');
  CHECK(orvx_db_open_memory(sample, size, &copy, NULL) == ORVX_OK);
  CHECK(db != NULL && copy != NULL && orvx_db_count(copy) == orvx_db_count(db));
  if (db && copy) {
    test_records(db);
    test_failed_calls(db);
    test_fields_and_lists(db);
    test_size_list_walk(db);
    test_pictures(copy);
  }
  orvx_db_close(copy);
  orvx_db_close(db);
  test_registry(argv[2]);
  test_editing(sample, size, argv[2]);
  free(sample);

  if (failures) fprintf(stderr, "%d checks failed\n", failures);
  return failures ? 1 : 0;
}
