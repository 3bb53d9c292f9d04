/*
 * orvx.h - the plain C interface of the orvx library.
 *
 * For hosts built with any compiler and for other languages (through their
 * foreign-function interface). It compiles as C99 and as C++; no C++ type and
 * no exception crosses it. Every function is exported under its own plain name
 * from liborvx.so and orvx.dll.
 *
 * Conventions:
 * - Functions that can fail return an orvx_status (ORVX_OK is 0) and take an
 *   optional `orvx_error*` (may be NULL) that receives the same status, a
 *   message and, for a damaged database, the byte offset where it went wrong.
 * - Handles are opaque. An orvx_db belongs to the caller from a successful
 *   open until orvx_db_close. An orvx_record is borrowed from its database:
 *   it stays valid until that database is closed.
 * - Strings passed in are NUL-terminated bytes in the system's code page and
 *   are only read during the call. Strings returned are borrowed from the
 *   object they describe.
 * - An open database is only read: any number of threads may use one at the
 *   same time. Picture calls write only into the caller's tray array.
 */
#ifndef ORVX_ORVX_H
#define ORVX_ORVX_H

#include <stddef.h>
#include <stdint.h>

#include "orvx/export.h"
#include "orvx/version.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- status and errors ----------------------------------------------------- */

typedef enum orvx_status {
  ORVX_OK = 0,
  ORVX_E_ARGUMENT = 1,    /* a required pointer is NULL or a value is out of range */
  ORVX_E_IO = 2,          /* a file could not be opened or read */
  ORVX_E_FORMAT = 3,      /* the database is truncated or malformed */
  ORVX_E_MEMORY = 4,      /* not enough memory */
  ORVX_E_REGISTRY = 5,    /* the registry could not be read or written */
  ORVX_E_NOT_FOUND = 6,   /* there is no such value */
  ORVX_E_UNSUPPORTED = 7  /* not available on this platform */
} orvx_status;

typedef struct orvx_error {
  int status;          /* an orvx_status */
  uint64_t offset;     /* ORVX_E_FORMAT: byte of the database where it went wrong; else 0 */
  char message[256];   /* NUL-terminated, cut to fit */
} orvx_error;

/* ---- version --------------------------------------------------------------- */

/* "MAJOR.MINOR.PATCH", a static string. */
ORVX_API const char* orvx_version(void);
/* MAJOR * 10000 + MINOR * 100 + PATCH. */
ORVX_API uint32_t orvx_version_number(void);

/* ---- databases ------------------------------------------------------------- */

typedef struct orvx_db orvx_db;
typedef struct orvx_record orvx_record;

/* Open a model database file, or a copy of `size` bytes at `data`. On success
 * *db is a new handle for orvx_db_close; on failure *db is NULL and nothing is
 * left allocated. A record count with its top bit set is refused (ORVX_E_FORMAT). */
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
 * argument). `how` and `index` may be NULL. */
ORVX_API orvx_record* orvx_db_lookup(orvx_db* db, const char* name, int* how, size_t* index);
/* "exact", "hp", "substring", "default"; NULL for another value. */
ORVX_API const char* orvx_match_name(int how);

/* ---- records ------------------------------------------------------------------ */

/* The model name; `length` (may be NULL) receives its length in bytes, which
 * counts any zero bytes inside the name. */
ORVX_API const char* orvx_record_name(const orvx_record* r, size_t* length);
ORVX_API int orvx_record_vendor_id(const orvx_record* r);
ORVX_API int orvx_record_model_group_id(const orvx_record* r);
ORVX_API int orvx_record_based_model_group_id(const orvx_record* r);
ORVX_API int orvx_record_icon_index(const orvx_record* r);
/* The whole capability word, defined bits and others. */
ORVX_API uint32_t orvx_record_flags(const orvx_record* r);

/* The thirteen capability flags: their count, and the name ("IsColorPrinter")
 * and bit of flag `i` (NULL and 0 when out of range). */
ORVX_API size_t orvx_flag_count(void);
ORVX_API const char* orvx_flag_name(size_t i);
ORVX_API uint32_t orvx_flag_bit(size_t i);
/* 1 or 0 as the record's getter answers; -1 when `i` is out of range. */
ORVX_API int orvx_record_flag(const orvx_record* r, size_t i);

/* The information value under `key` into *value, widened as the record's
 * GetInfo does. ORVX_E_NOT_FOUND (and *value = -1) for a key that names no value. */
ORVX_API int orvx_record_info(const orvx_record* r, uint32_t key, int32_t* value);

/* Size lists: the list of input tray `tray` (0 to 255), the list of the tray
 * named `name` (compared without regard to letter case), or the whole block.
 * Each returns the length in bytes (0: no such list) and copies the bytes
 * into `out` only when `out` is not NULL and `capacity` is at least that
 * length. No list is longer than 255 bytes. */
ORVX_API size_t orvx_record_size_list(const orvx_record* r, int tray, unsigned char* out, size_t capacity);
ORVX_API size_t orvx_record_size_list_named(const orvx_record* r, const char* name, unsigned char* out,
                                            size_t capacity);
ORVX_API size_t orvx_record_size_list_block(const orvx_record* r, unsigned char* out, size_t capacity);

/* ---- picture IDs -------------------------------------------------------------- */

#define ORVX_TRAY_NAME_SIZE 256

/* One installed tray of a particular printer. */
typedef struct orvx_tray {
  const char* name;   /* in: the tray's name */
  int32_t id;         /* in: its ID before the call (-1 for a new tray); out: after */
  int32_t add_unit;   /* in */
  int32_t delivery;   /* in, output trays only: 3 or 4; anything else means 2 */
  char final_name[ORVX_TRAY_NAME_SIZE]; /* out: the name after the call, cut to fit */
  size_t final_name_length;             /* out: its whole length */
} orvx_tray;

/* The classic picture ID (GetPictureID) and the extended one
 * (GetPictureIDEx) of record `r` for the given trays, into *picture_id. The
 * tray forms rewrite each tray's `id`, `final_name` and `final_name_length`;
 * the name forms take plain name lists. A list with a count of 0 may be NULL. */
ORVX_API int orvx_picture_id(orvx_record* r, orvx_tray* in, size_t in_count, orvx_tray* out, size_t out_count,
                             int duplex_unit, int output_unit, uint32_t* picture_id, orvx_error* err);
ORVX_API int orvx_picture_id_ex(orvx_record* r, orvx_tray* in, size_t in_count, orvx_tray* out, size_t out_count,
                                const char* const* options, size_t option_count, const char* const* doc_options,
                                size_t doc_option_count, uint32_t* picture_id, orvx_error* err);
ORVX_API int orvx_picture_id_names(orvx_record* r, const char* const* in_names, size_t in_count,
                                   const char* const* out_names, size_t out_count, int duplex_unit, int output_unit,
                                   uint32_t* picture_id, orvx_error* err);
ORVX_API int orvx_picture_id_ex_names(orvx_record* r, const char* const* in_names, size_t in_count,
                                      const char* const* out_names, size_t out_count, const char* const* options,
                                      size_t option_count, const char* const* doc_options, size_t doc_option_count,
                                      uint32_t* picture_id, orvx_error* err);

/* ---- host settings -------------------------------------------------------------- */

/* The host's string resources, which picture rules read (9481: the name of a
 * manual tray, 9482: of a default tray). NULL text removes the string. */
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
 * from the host's names). *result is one of the three codes above. */
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
 * set and nothing copied, when it does not fit. */
ORVX_API int orvx_comm_config_load(uint32_t port, void* config, size_t capacity, size_t* size, orvx_error* err);

#ifdef __cplusplus
}
#endif

#endif /* ORVX_ORVX_H */
