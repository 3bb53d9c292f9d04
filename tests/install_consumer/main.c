/* host.c: opens a database and looks one model up through the C interface. */
#include <stdio.h>

#include "orvx/orvx.h"

int main(int argc, char** argv) {
  orvx_db* db;
  orvx_error err;
  int how = 0;
  if (orvx_db_open_file(argc > 1 ? argv[1] : "ORVDB.dat", &db, &err) != ORVX_OK) {
    fprintf(stderr, "%s\n", err.message);
    return 1;
  }
  orvx_record* r = orvx_db_lookup(db, argc > 2 ? argv[2] : "Vantor LP-1200", &how, NULL);
  if (r)
    printf("%s (%s match): vendor %d, group %d\n", orvx_record_name(r, NULL), orvx_match_name(how),
           orvx_record_vendor_id(r), orvx_record_model_group_id(r));
  orvx_db_close(db);
  return r ? 0 : 1;
}
