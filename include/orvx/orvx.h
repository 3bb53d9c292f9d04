/*
 * orvx.h - the plain C interface of the orvx library.
 *
 * For hosts built with any compiler and for other languages (through their
 * foreign-function interface). It compiles as C99 and as C++; no C++ type and
 * no exception crosses it. Every function is exported under its own plain name
 * from liborvx.so and orvx.dll.
 *
 * Conventions:
 * - Functions that can fail return an orvx_status (ORVX_OK is 0), one code
 *   per kind of failure, and take an optional `orvx_error*` (may be NULL)
 *   that receives the same status, a message and, for a damaged database,
 *   the byte offset where it went wrong. orvx_status_text gives a code's
 *   fixed text.
 * - Handles are opaque. An orvx_db belongs to the caller from a successful
 *   open until orvx_db_close. An orvx_record is borrowed from its database:
 *   it stays valid until that database is closed or the record removed.
 * - Strings passed in are NUL-terminated bytes in the system's code page and
 *   are only read during the call; a string ends at its first zero byte, so a
 *   C caller cannot pass a name or path that holds one (no function takes a
 *   path with a length). Strings returned are borrowed from the object they
 *   describe.
 * - A function that fails leaves its out-parameters as its comment says
 *   (mostly NULL, 0 or -1), never as they were.
 * - A NULL record or database is allowed everywhere: getters then answer as
 *   for a missing value (0, -1 or NULL, as each comment says).
 * - Any number of threads may read one open database at the same time; an
 *   edit (orvx_db_set ... orvx_db_move) needs it to itself. Picture calls
 *   write only into the caller's tray array.
 */
#ifndef ORVX_ORVX_H
#define ORVX_ORVX_H

#include <stddef.h>
#include <stdint.h>

#include "orvx/export.h"
#include "orvx/picture_values.h"
#include "orvx/version.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- status and errors ----------------------------------------------------- */

/* Codes are only ever appended; a host should treat one it does not know as
 * a failure (orvx_status_text gives NULL for it). */
typedef enum orvx_status {
  ORVX_OK = 0,
  ORVX_E_ARGUMENT = 1,         /* a required pointer is NULL, a value is out of range, or a name is
                                  one no file or registry key can have */
  ORVX_E_IO = 2,               /* the system refused to open, read or write a file, for a reason
                                  with no code of its own */
  ORVX_E_FORMAT = 3,           /* the database is truncated or malformed */
  ORVX_E_MEMORY = 4,           /* not enough memory */
  ORVX_E_REGISTRY = 5,         /* the registry refused, for a reason with no code of its own */
  ORVX_E_NOT_FOUND = 6,        /* there is no such value, key or list, or no file at the path */
  ORVX_E_UNSUPPORTED = 7,      /* not available on this platform */
  ORVX_E_NOT_REGULAR = 8,      /* a directory, a device, a FIFO or a socket where a file belongs */
  ORVX_E_TOO_LARGE = 9,        /* a file larger than one of its kind can be */
  ORVX_E_SHARING = 10,         /* a file open elsewhere in a mode that shares nothing */
  ORVX_E_DISK_FULL = 11,       /* no room left to write */
  ORVX_E_NO_STORE = 12,        /* the registry store file is missing (POSIX) */
  ORVX_E_BAD_STORE = 13,       /* the registry store file is malformed (POSIX): offset is its line */
  ORVX_E_WRONG_TYPE = 14,      /* a stored value of another type than the one asked for */
  ORVX_E_EMPTY_VALUE = 15,     /* a stored value that holds nothing */
  ORVX_E_VALUE_TOO_LARGE = 16  /* a stored value larger than the room for it */
} orvx_status;

typedef struct orvx_error {
  int status;          /* an orvx_status */
  uint64_t offset;     /* ORVX_E_FORMAT: byte of the database where it went wrong;
                          ORVX_E_BAD_STORE: line of the store file; else 0 */
  char message[256];   /* NUL-terminated, cut to fit */
} orvx_error;

/* The fixed text of a code ("not found"), a static string, the same whatever
 * failed; orvx_error.message says what did. NULL for a value that is no code. */
ORVX_API const char* orvx_status_text(orvx_status status);

/* ---- version --------------------------------------------------------------- */

/* "MAJOR.MINOR.PATCH", a static string. */
ORVX_API const char* orvx_version(void);
/* MAJOR * 10000 + MINOR * 100 + PATCH. */
ORVX_API uint32_t orvx_version_number(void);

/* ---- databases ------------------------------------------------------------- */

typedef struct orvx_db orvx_db;
typedef struct orvx_record orvx_record;

/* Open a model database file, or a copy of `size` bytes at `data`. On success
 * *db is a new handle for orvx_db_close; on failure (a NULL path or data
 * included) *db is NULL and nothing is left allocated. A record count with
 * its top bit set is refused (ORVX_E_FORMAT). */
ORVX_API int orvx_db_open_file(const char* path, orvx_db** db, orvx_error* err);
ORVX_API int orvx_db_open_memory(const void* data, size_t size, orvx_db** db, orvx_error* err);
/* Frees the database and every record of it. NULL is allowed. */
ORVX_API void orvx_db_close(orvx_db* db);

/* Number of records; 0 for NULL. */
ORVX_API size_t orvx_db_count(const orvx_db* db);
/* Record `index` in file order, or NULL when out of range. */
ORVX_API orvx_record* orvx_db_record(orvx_db* db, size_t index);

typedef enum orvx_match {
  ORVX_MATCH_EXACT = 0,     /* a record's name equals the query */
  ORVX_MATCH_HP = 1,        /* found after reading a leading "hp" as "HP" */
  ORVX_MATCH_SUBSTRING = 2, /* the query contains the record's name */
  ORVX_MATCH_DEFAULT = 3    /* nothing matched: the default record, index 0 */
} orvx_match;

/* The record the library's lookup gives for `name` (exact pass, "hp" fix,
 * substring pass, else record 0). NULL only for an empty database (or a NULL
 * argument), and then *how is ORVX_MATCH_DEFAULT and *index 0. `how` and
 * `index` may be NULL. */
ORVX_API orvx_record* orvx_db_lookup(orvx_db* db, const char* name, int* how, size_t* index);
/* "exact", "hp", "substring", "default"; NULL for another value. */
ORVX_API const char* orvx_match_name(int how);

/* ---- records ------------------------------------------------------------------ */

/* The model name; `length` (may be NULL) receives its length in bytes, which
 * counts any zero bytes inside the name. NULL (and *length 0) for a NULL record. */
ORVX_API const char* orvx_record_name(const orvx_record* r, size_t* length);
/* The record's IDs and icon index; 0 for a NULL record. */
ORVX_API int orvx_record_vendor_id(const orvx_record* r);
ORVX_API int orvx_record_model_group_id(const orvx_record* r);
ORVX_API int orvx_record_based_model_group_id(const orvx_record* r);
ORVX_API int orvx_record_icon_index(const orvx_record* r);
/* The whole capability word, defined bits and others; 0 for a NULL record. */
ORVX_API uint32_t orvx_record_flags(const orvx_record* r);

/* The thirteen capability flags: their count, and the name ("IsColorPrinter")
 * and bit of flag `i` (NULL and 0 when out of range). */
ORVX_API size_t orvx_flag_count(void);
ORVX_API const char* orvx_flag_name(size_t i);
ORVX_API uint32_t orvx_flag_bit(size_t i);
/* 1 or 0 as the record's getter answers; -1 when `i` is out of range or the
 * record is NULL. */
ORVX_API int orvx_record_flag(const orvx_record* r, size_t i);
/* The same by the flag's name ("IsColorPrinter"); -1 for a name that is no
 * flag's, or a NULL record or name. */
ORVX_API int orvx_record_flag_by_name(const orvx_record* r, const char* name);

/* The flags' bits by name, from the same list as the record's getters:
 * ORVX_FLAG_IsColorPrinter is 0x0008, and so on. */
enum orvx_flag_bit {
#define ORVX_FLAG(bit, getter, setter) ORVX_FLAG_##getter = bit,
#include "orvx/flags.inc"
#undef ORVX_FLAG
  ORVX_FLAG_DEFINED = 0x1FFF /* all thirteen */
};

/* The information value under `key` into *value, widened as the record's
 * GetInfo does. ORVX_E_NOT_FOUND (and *value = -1) for a key that names no
 * value; ORVX_E_ARGUMENT (and *value = -1) for a NULL record. */
ORVX_API int orvx_record_info(const orvx_record* r, uint32_t key, int32_t* value);

/* The record's numeric fields ("VenderID", ..., "Info0D08", ...), in the
 * order of the database file, so that a caller can list a record without a
 * copy of the field list: their count, and the name and width in bytes (1, 2
 * or 4) of field `i` (NULL and 0 when out of range). */
ORVX_API size_t orvx_field_count(void);
ORVX_API const char* orvx_field_name(size_t i);
ORVX_API int orvx_field_width(size_t i);
/* The value of field `i`, or of the field named `name`, as stored: signed
 * fields sign-extended, the others not (so Info040A reads 255 where GetInfo
 * answers -1). ORVX_E_NOT_FOUND for an index out of range or an unknown name,
 * ORVX_E_ARGUMENT for a NULL argument; *value is 0 on failure. */
ORVX_API int orvx_record_field(const orvx_record* r, size_t i, int64_t* value);
ORVX_API int orvx_record_field_by_name(const orvx_record* r, const char* name, int64_t* value);

/* Size lists: the list of input tray `tray` (0 to 255), the list of the tray
 * named `name` (compared without regard to letter case), or the whole block.
 * Each returns the length in bytes (0: no such list, an empty list, or a NULL
 * record or name) and copies the bytes into `out` only when `out` is not NULL
 * and `capacity` is at least that length. No list is longer than 255 bytes. */
ORVX_API size_t orvx_record_size_list(const orvx_record* r, int tray, unsigned char* out, size_t capacity);
ORVX_API size_t orvx_record_size_list_named(const orvx_record* r, const char* name, unsigned char* out,
                                            size_t capacity);
ORVX_API size_t orvx_record_size_list_block(const orvx_record* r, unsigned char* out, size_t capacity);
/* The same lists, telling a tray listed without sizes (ORVX_OK, *length 0)
 * from a tray the block does not list, or a record without a block
 * (ORVX_E_NOT_FOUND, *length 0). ORVX_E_ARGUMENT for a NULL record, name or
 * length, or a tray number outside 0 to 255 (*length 0), and when `out` is
 * not NULL but `capacity` is below the length (*length set, nothing copied). */
ORVX_API int orvx_record_find_size_list(const orvx_record* r, int tray, unsigned char* out, size_t capacity,
                                        size_t* length);
ORVX_API int orvx_record_find_size_list_named(const orvx_record* r, const char* name, unsigned char* out,
                                              size_t capacity, size_t* length);

/* Every size list of a record, one entry at a time in the order of its block,
 * to walk a record's trays without reading the block by hand. A tray listed
 * twice comes twice (the getters above answer its first entry); an entry that
 * runs past the end of the block ends the walk. No name or list is longer
 * than the block, so fixed buffers hold them. */
#define ORVX_SIZE_LIST_MAX 256

typedef struct orvx_size_list {
  int tray;                                /* the tray number (0 to 255); -1 for an entry by name */
  char name[ORVX_SIZE_LIST_MAX];           /* an entry by name: the tray's name, NUL-terminated; else "" */
  size_t size_count;                       /* the number of size codes */
  unsigned char sizes[ORVX_SIZE_LIST_MAX]; /* the size codes, as the getters above give them */
} orvx_size_list;

/* The number of entries; 0 for a record without size lists or a NULL record. */
ORVX_API size_t orvx_record_size_list_count(const orvx_record* r);
/* Entry `i` into *list. ORVX_E_NOT_FOUND when `i` is not below the count,
 * ORVX_E_ARGUMENT for a NULL record or list; on failure *list is empty
 * (tray -1, name "", no sizes). */
ORVX_API int orvx_record_size_list_at(const orvx_record* r, size_t i, orvx_size_list* list);

/* ---- editing and writing ------------------------------------------------------
 * An edit checks everything before it changes anything: a refused edit
 * leaves the database as it was. ORVX_E_NOT_FOUND: a record index past the
 * end, or a field or flag that no record has; ORVX_E_ARGUMENT: a NULL
 * argument, or a value that does not fit, the message saying why in the
 * words of `orvdb build` ("model 3 (\"Name\"), key \"Info0301\": 300 is out of
 * range for a 8-bit signed field"). While one thread edits a database, no
 * other may use it. Record handles stay valid through edits but for a
 * removed record's; a record's index changes with inserts, removes and moves. */

/* Any key of a record's JSON form (`orvdb export`: "ModelName",
 * "ModelNameBytes", "VenderID", "Info0301", "Flags", "FlagNames",
 * "InTraySPSZSizeList"), its value given as JSON text: 300, "Name",
 * ["IsColorPrinter"], [{"tray": 1, "sizes": [1, 2]}, {"tray": "Cassette", "sizes": []}], null. */
ORVX_API int orvx_db_set(orvx_db* db, size_t index, const char* key, const char* json_value, orvx_error* err);
/* A numeric field by its number (orvx_field_name) or by name. */
ORVX_API int orvx_db_set_field(orvx_db* db, size_t index, size_t field, int64_t value, orvx_error* err);
ORVX_API int orvx_db_set_field_by_name(orvx_db* db, size_t index, const char* name, int64_t value, orvx_error* err);
/* Sets (on != 0) or clears a flag by name ("IsColorPrinter"). */
ORVX_API int orvx_db_set_flag(orvx_db* db, size_t index, const char* name, int on, orvx_error* err);
/* The model name: `length` bytes at `name`, which may hold any byte but zero. */
ORVX_API int orvx_db_set_name(orvx_db* db, size_t index, const char* name, size_t length, orvx_error* err);
/* The size lists, as orvx_record_size_list_at gives them (tray -1: by name);
 * `count` 0 removes the block. The block must fit in 255 bytes. */
ORVX_API int orvx_db_set_size_lists(orvx_db* db, size_t index, const orvx_size_list* lists, size_t count,
                                    orvx_error* err);
/* A blank record at `at` (0 to the count), or a copy of `from`, which may
 * belong to any open database. */
ORVX_API int orvx_db_insert(orvx_db* db, size_t at, const orvx_record* from, orvx_error* err);
ORVX_API int orvx_db_remove(orvx_db* db, size_t index, orvx_error* err);
/* The record at `from` moves so that it ends up at `to`. */
ORVX_API int orvx_db_move(orvx_db* db, size_t from, size_t to, orvx_error* err);

/* The database in the file layout: byte for byte the opened file while the
 * records are as opened (or changed back). *size receives the length; the
 * bytes are copied only when `out` is not NULL and `capacity` holds them
 * (else ORVX_E_ARGUMENT, nothing copied, *size set). */
ORVX_API int orvx_db_write(const orvx_db* db, void* out, size_t capacity, size_t* size, orvx_error* err);
/* The database as the file `path`, replaced whole or not at all: in the file
 * layout (the bytes of orvx_db_write) or in its JSON form (orvx_db_json). */
typedef enum orvx_form { ORVX_FORM_DAT = 0, ORVX_FORM_JSON = 1 } orvx_form;
ORVX_API int orvx_db_save(const orvx_db* db, const char* path, int form, orvx_error* err);
/* The JSON form of the database ({"models": [...]}) or of one record, as
 * `orvdb export` writes it, NUL-terminated; *size receives the length without
 * the NUL, and the text is copied only when `capacity` exceeds it. */
ORVX_API int orvx_db_json(const orvx_db* db, char* out, size_t capacity, size_t* size, orvx_error* err);
ORVX_API int orvx_record_json(const orvx_record* r, char* out, size_t capacity, size_t* size, orvx_error* err);

/* ---- picture IDs -------------------------------------------------------------- */

#define ORVX_TRAY_NAME_SIZE 256

/* A new tray's values (ORVX_TRAY_NEW_*: orvx_tray_init starts a tray from
 * them) and the host strings the rules read (ORVX_STRING_MANUAL_TRAY,
 * ORVX_STRING_DEFAULT_TRAY) are in orvx/picture_values.h; the functions give
 * the strings' numbers to callers that cannot read a macro. */
ORVX_API unsigned orvx_manual_tray_string_id(void);
ORVX_API unsigned orvx_default_tray_string_id(void);

/* One installed tray of a particular printer. */
typedef struct orvx_tray {
  const char* name;   /* in: the tray's name */
  int32_t id;         /* in: its ID before the call (-1 for a new tray); out: the picture slot the
                         rule gave it, or the ID it came with when no rule recognised it */
  int32_t add_unit;   /* in: bits of the add-on units attached to the tray (0: none); only the
                         rules of vendor 1, group 1 read it */
  int32_t delivery;   /* in, output trays only: which side the tray delivers to, 3 (face up) or
                         4 (face down); anything else means 2, the default */
  char final_name[ORVX_TRAY_NAME_SIZE]; /* out: the name after the call, cut to fit */
  size_t final_name_length;             /* out: its whole length; a length of ORVX_TRAY_NAME_SIZE
                                           or more means final_name holds only its start */
} orvx_tray;

/* Fills *tray with a new tray's values: `name`, the ORVX_TRAY_NEW_ values
 * above and an empty result.
 * Start every tray here: a zeroed orvx_tray has ID 0, which a rule that does
 * not recognise the tray hands back as if it were a picture slot. A NULL
 * `tray` is ignored. */
ORVX_API void orvx_tray_init(orvx_tray* tray, const char* name);

/* One picture call: the trays and units of one machine, and the host strings
 * that the rules read. Nothing process-wide is read: two calls on two threads
 * with different host strings do not meet. */
typedef struct orvx_picture_call {
  int extended;                    /* 0: the classic entry point (GetPictureID); else GetPictureIDEx */
  orvx_tray* in;                   /* rewritten in place: id, final_name, final_name_length */
  size_t in_count;
  orvx_tray* out;
  size_t out_count;
  int duplex_unit;                 /* classic only: non-zero when a duplex unit is installed */
  int output_unit;                 /* classic only: the output unit's value (0: none); only the
                                      rules of vendor 1, groups 1, 3 and 4 read it */
  const char* const* options;      /* names of the installed option units; only GetPictureIDEx reads
                                      them (the classic call's trace lists them as unread) */
  size_t option_count;
  const char* const* doc_options;  /* names of the installed document units, the same way */
  size_t doc_option_count;
  const char* manual_tray_name;    /* host string ORVX_STRING_MANUAL_TRAY; NULL: none */
  const char* default_tray_name;   /* host string ORVX_STRING_DEFAULT_TRAY; NULL: none */
} orvx_picture_call;

/* What the rules did in one call, step by step. Owns its steps and strings. */
typedef struct orvx_trace orvx_trace;

/* Runs one picture call on record `r`; *picture_id receives the ID, and every
 * tray its final ID and name. A list with a count of 0 may be NULL. `trace`
 * may be NULL; otherwise *trace receives a new trace for orvx_trace_free
 * (NULL on failure). On failure *picture_id is 0 and no tray is written. */
ORVX_API int orvx_picture(const orvx_record* r, const orvx_picture_call* call, uint32_t* picture_id,
                          orvx_trace** trace, orvx_error* err);

typedef enum orvx_step_kind {
  ORVX_STEP_OPTION = 0,     /* an option unit's name */
  ORVX_STEP_DOC_OPTION = 1, /* a document unit's name */
  ORVX_STEP_IN_TRAY = 2,
  ORVX_STEP_OUT_TRAY = 3,
  ORVX_STEP_RULE = 4        /* bits the rule sets itself: start value, bits by drawer count, document-unit
                               bit pair, fallback, duplex unit, output unit, final bits, a fixed result;
                               or a step that sets none: an input the rule does not read (a duplex or
                               output unit), the step that leaves a result at 0 */
} orvx_step_kind;

/* The name of a step kind, as every face writes it: "option", "doc-option",
 * "in-tray", "out-tray", "rule"; NULL for a value that is no kind. */
ORVX_API const char* orvx_picture_step_name(int kind);

typedef struct orvx_trace_step {
  int kind;                /* an orvx_step_kind */
  const char* name;        /* the name as the rule tested it (trays: after "Optional"/"Option" went) */
  const char* input_name;  /* trays: the name the caller gave; options: the same as name; rule steps: "" */
  const char* final_name;  /* trays: the name after the call; else "" */
  int row;                 /* the row of its table (orvx_rule_row_at) that matched; -1: none did */
  const char* test;        /* the matching row's test as text, or what a rule step is ("start value", ...) */
  uint32_t added;          /* bits this step set that were not set before */
  int32_t id;              /* trays: the tray's ID after the step; else -1 */
} orvx_trace_step;

/* The rule that ran ("GetOptionFlagEx_Nightjar"); NULL when none did (a fixed result, or none). */
ORVX_API const char* orvx_trace_rule(const orvx_trace* t);
/* The number of steps; 0 for NULL. */
ORVX_API size_t orvx_trace_count(const orvx_trace* t);
/* Step `i` into *step, its strings borrowed from the trace; ORVX_E_ARGUMENT when out of range. */
ORVX_API int orvx_trace_step_at(const orvx_trace* t, size_t i, orvx_trace_step* step);
/* NULL is allowed. */
ORVX_API void orvx_trace_free(orvx_trace* t);

/* The rules' vocabulary, read from the rule tables themselves. */

/* The rule of a vendor/group pair in one entry point (extended non-zero:
 * GetPictureIDEx), a static string; NULL when none runs, and then
 * *fixed_result (may be NULL) receives the fixed answer (0 or 0x800). */
ORVX_API const char* orvx_rule_for(int vendor, int group, int extended, uint32_t* fixed_result);

typedef struct orvx_rule_row {
  int table;                      /* an orvx_step_kind: which names the row tests; ORVX_STEP_RULE: a step
                                     of the rule's own (start value, bits by drawer count, ...) */
  int index;                      /* the row's index in its table, as a trace step's `row` */
  const char* test;               /* the test as text: begins with "Cassette" (8) or is "Tray 1", ... */
  size_t literal_count;           /* the names and prefixes the row recognises */
  const char* const* literals;
  uint32_t bits;                  /* bits the row sets */
  int32_t id;                     /* the tray ID it writes; -1 when it writes none */
  const char* effect;             /* anything else it does or needs, as text; "" if nothing */
} orvx_rule_row;

/* The rows of rule `rule` (a name orvx_rule_for gives), in table order; 0 for an unknown rule. */
ORVX_API size_t orvx_rule_row_count(const char* rule);
/* Row `i` into *row, its strings static; ORVX_E_ARGUMENT for an unknown rule or `i` out of range. */
ORVX_API int orvx_rule_row_at(const char* rule, size_t i, orvx_rule_row* row);

/* The same call in fixed shapes, with the host strings of the process-wide
 * table (orvx_host_set_string): the classic picture ID (GetPictureID) and the
 * extended one (GetPictureIDEx), with trays or with plain name lists. */
ORVX_API int orvx_picture_id(const orvx_record* r, orvx_tray* in, size_t in_count, orvx_tray* out, size_t out_count,
                             int duplex_unit, int output_unit, uint32_t* picture_id, orvx_error* err);
ORVX_API int orvx_picture_id_ex(const orvx_record* r, orvx_tray* in, size_t in_count, orvx_tray* out,
                                size_t out_count, const char* const* options, size_t option_count,
                                const char* const* doc_options, size_t doc_option_count, uint32_t* picture_id,
                                orvx_error* err);
ORVX_API int orvx_picture_id_names(const orvx_record* r, const char* const* in_names, size_t in_count,
                                   const char* const* out_names, size_t out_count, int duplex_unit, int output_unit,
                                   uint32_t* picture_id, orvx_error* err);
ORVX_API int orvx_picture_id_ex_names(const orvx_record* r, const char* const* in_names, size_t in_count,
                                      const char* const* out_names, size_t out_count, const char* const* options,
                                      size_t option_count, const char* const* doc_options, size_t doc_option_count,
                                      uint32_t* picture_id, orvx_error* err);

/* ---- host settings -------------------------------------------------------------- */

/* The host's string resources, which the fixed-shape picture calls read
 * (ORVX_STRING_MANUAL_TRAY, ORVX_STRING_DEFAULT_TRAY); orvx_picture takes
 * them with the call instead. NULL text removes the string. */
ORVX_API int orvx_host_set_string(unsigned id, const char* text);
ORVX_API void orvx_host_clear_strings(void);
/* The host's application name and registry key, which name the registry keys
 * of the supported-model lists and the COM configuration store.
 * ORVX_E_ARGUMENT, and nothing changes, for a name with a line break or
 * another control character (a tab is fine): no key could be named by it. */
ORVX_API int orvx_host_set_app_name(const char* name);
ORVX_API int orvx_host_set_registry_key(const char* key);

#define ORVX_HIVE_LOCAL_MACHINE 0
#define ORVX_HIVE_CURRENT_USER 1
/* Where the registry store file of a hive lives (POSIX only; NULL or "" goes
 * back to the default place). ORVX_E_UNSUPPORTED on Windows, where the
 * registry is the system's. */
ORVX_API int orvx_host_set_registry_file(int hive, const char* path);

/* ---- supported models ------------------------------------------------------------ */

#define ORVX_SUPPORTED 0u
#define ORVX_NOT_SUPPORTED 0x80000001u
#define ORVX_LISTED_UNSUPPORTED 0x80000002u

/* Whether `model` is supported over interface `interface_number` (1 to 5), from
 * the lists below HKEY_LOCAL_MACHINE\<registry_path> (NULL: the default path
 * from the host's names). *result is one of the three codes above; on
 * failure it is ORVX_NOT_SUPPORTED. */
ORVX_API int orvx_check_model(const char* registry_path, const char* model, unsigned interface_number,
                              uint32_t* result, orvx_error* err);

/* ---- COM port configuration ---------------------------------------------------- */

/* The largest configuration that can be loaded back. */
#define ORVX_COMM_CONFIG_MAX 256

/* Stores `size` bytes of a COMMCONFIG (its first four bytes, dwSize, must
 * equal `size`, from 4 to ORVX_COMM_CONFIG_MAX) as the value COM<n> of the
 * host's key, n = bits 4 to 7 of `port`. */
ORVX_API int orvx_comm_config_save(uint32_t port, const void* config, size_t size, orvx_error* err);
/* Reads that value into `config` (`capacity` bytes); *size receives its
 * length. ORVX_E_NOT_FOUND when there is none; ORVX_E_ARGUMENT, with *size
 * set and nothing copied, when it does not fit; ORVX_E_VALUE_TOO_LARGE, the
 * same, when it is larger than ORVX_COMM_CONFIG_MAX. On any other failure
 * *size is 0. */
ORVX_API int orvx_comm_config_load(uint32_t port, void* config, size_t capacity, size_t* size, orvx_error* err);

#ifdef __cplusplus
}
#endif

#endif /* ORVX_ORVX_H */
