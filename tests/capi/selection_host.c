/* A C host: fills a vehicle by name and reads the description it composes; loads the
 * stored sample selection (the file named first on the command line), reads its totals,
 * walks its items and counts the CountChanged events; sees the library unloadable once it
 * lets go. Exits non-zero after reporting every mismatch. */
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "host_checks.h"
#include "vexqom.h"

static void on_event(void* context, vq_object* source, int32_t dispid) {
  (void)source;
  if (dispid == 1) ++*(int*)context;
}

/* A Currency or Long member read as its integer; INT64_MIN on failure. */
static int64_t number_of(vq_object* obj, const char* member, int32_t flags, int32_t kind) {
  vq_value result;
  return call(obj, member, flags, NULL, 0, &result) == 0 ? raw_of(&result, kind) : INT64_MIN;
}

int main(int argc, char** argv) {
  char text[1 << 16];
  FILE* file = argc > 1 ? fopen(argv[1], "rb") : NULL;
  size_t size = file ? fread(text, 1, sizeof text - 1, file) : 0;
  text[size] = '\0';
  if (file) fclose(file);
  static const char* fields[] = {"Year", "Make", "Model", "Engine", "VIN"};
  static const char* values[] = {"2001", "Ford", "Caf\xc3\xa9", "3.0L V6", "1FAFP53U51A123456"};
  vq_object* vehicle = create("ICatVehicle");
  vq_value arg, result;
  for (int i = 0; i < 5; ++i) {
    arg = text_value(values[i]);
    CHECK(call(vehicle, fields[i], VQ_LET, &arg, 1, NULL) == 0);
    vq_value_clear(&arg);
  }
  CHECK(call(vehicle, "description", VQ_GET, NULL, 0, &result) == 0);
  CHECK(text_is(&result, "2001 Ford Caf\xc3\xa9 3.0L V6"));
  CHECK(call(vehicle, "VIN", VQ_GET, NULL, 0, &result) == 0 && text_is(&result, values[4]));
  CHECK(DllCanUnloadNow() == 1 && vq_release(vehicle) == 0 && DllCanUnloadNow() == 0);

  vq_object* col = create("ICatItemCol");
  if (col == NULL || size == 0) return 1;
  int events = 0;
  uint32_t cookie = 0;
  CHECK(vq_advise(col, on_event, &events, &cookie) == 0 && cookie != 0);
  arg = text_value(text);
  CHECK(call(col, "XML", VQ_LET, &arg, 1, NULL) == 0);
  vq_value_clear(&arg);
  CHECK(events == 5);
  CHECK(number_of(col, "Count", VQ_GET, VQ_LONG) == 5);
  CHECK(number_of(col, "ItemsTotalCount", VQ_GET, VQ_CURRENCY) == 100000);
  CHECK(number_of(col, "ItemsTotalCost", VQ_GET, VQ_CURRENCY) == 648700);
  CHECK(number_of(col, "ItemsSelectedCount", VQ_METHOD, VQ_CURRENCY) == 90000);
  CHECK(number_of(col, "ItemsSelectedCost", VQ_METHOD, VQ_CURRENCY) == 266700);

  /* Walk the items in order; the vehicle came with the document. */
  CHECK(vq_invoke(col, -4, VQ_GET, NULL, 0, &result) == 0 && result.obj != NULL);
  vq_value member;
  int seen = 0;
  while (result.obj && vq_enum_next(result.obj, &member) == 1) {
    vq_value key;
    CHECK(member.obj && call(member.obj, "UniqueKey", VQ_METHOD, NULL, 0, &key) == 0);
    CHECK(seen > 0 || text_is(&key, "NLN41-962"));
    vq_value_clear(&key);
    vq_value_clear(&member);
    ++seen;
  }
  CHECK(seen == 5);
  vq_value_clear(&result); /* releases the enumerator */
  CHECK(call(col, "Vehicle", VQ_GET, NULL, 0, &result) == 0 && result.obj != NULL);
  vq_value make;
  CHECK(result.obj && call(result.obj, "Make", VQ_GET, NULL, 0, &make) == 0 && text_is(&make, "Chevrolet"));
  vq_value_clear(&result);

  /* One event per added item, none for a refused key. */
  vq_object* item = create("ICatItem");
  vq_value add[2] = {object_value(item), text_value("nln41-962")};
  CHECK(call(col, "Add", VQ_METHOD, add, 2, &result) == 0 && result.kind == VQ_OBJECT &&
        result.obj == NULL && events == 5);
  vq_value_clear(&add[0]);
  vq_value_clear(&add[1]);
  CHECK(vq_unadvise(col, cookie) == 0);
  vq_release(item);
  CHECK(vq_release(col) == 0 && DllCanUnloadNow() == 0);
  if (failures == 0) printf("selection_host: all checks passed\n");
  return failures == 0 ? 0 : 1;
}
