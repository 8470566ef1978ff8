/* A C host: creates a vehicle by name, sets and reads every field through the C
 * interface, and provokes the defined failures. Exits non-zero on the first mismatch. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "host_checks.h"
#include "vexqom.h"

static void set_text(vq_object* obj, const char* member, const char* value) {
  vq_value arg = text_value(value), result;
  CHECK(vq_invoke(obj, dispid_of(obj, member), VQ_LET, &arg, 1, &result) == 0);
  CHECK(result.kind == VQ_EMPTY);
  vq_value_clear(&arg);
}

static int text_is(vq_object* obj, const char* member, const char* expected) {
  vq_value result;
  int ok = vq_invoke(obj, dispid_of(obj, member), VQ_GET, NULL, 0, &result) == 0 &&
           result.kind == VQ_TEXT && result.text_len == strlen(expected) &&
           strcmp(result.text, expected) == 0;
  if (!ok) fprintf(stderr, "%s: got '%s'\n", member, result.kind == VQ_TEXT ? result.text : "?");
  vq_value_clear(&result);
  return ok;
}

int main(void) {
  static const char* fields[] = {"AAIA", "Year", "Make", "Model", "Engine",
                                 "VIN", "Plate", "Description", "CurrentMileage"};
  static const char* values[] = {"5678", "2001", "Ford", "Taurus", "3.0L V6",
                                 "1FAFP53U51A123456", "ABC 123", "", "120500"};
  vq_object* vehicle = NULL;
  CHECK(vq_create("vexqom_PLUMEK2.ICatVehicle", &vehicle) == 0 && vehicle != NULL);
  for (int i = 0; i < 9; ++i) set_text(vehicle, fields[i], values[i]);
  for (int i = 0; i < 9; ++i) {
    if (i != 7) CHECK(text_is(vehicle, fields[i], values[i]));
  }
  CHECK(text_is(vehicle, "Description", "2001 Ford Taurus 3.0L V6"));
  set_text(vehicle, "Description", "Caf\xc3\xa9 car"); /* UTF-8 round trip */
  CHECK(text_is(vehicle, "description", "Caf\xc3\xa9 car"));

  /* Wrong argument kinds, unknown members and a NULL object. */
  vq_value result, arg;
  memset(&arg, 0, sizeof arg);
  arg.kind = VQ_OBJECT;
  arg.obj = vehicle;
  vq_addref(vehicle);
  CHECK(vq_invoke(vehicle, dispid_of(vehicle, "Year"), VQ_LET, &arg, 1, &result) == 13);
  CHECK(vq_error_number() == 13);
  CHECK(result.kind == VQ_EMPTY);
  vq_value_clear(&arg);
  int32_t id = 0;
  CHECK(vq_get_dispid(vehicle, "NoSuchMember", &id) == -2147352573);
  CHECK(vq_invoke(vehicle, 0x68039999, VQ_GET, NULL, 0, &result) == -2147352573);
  CHECK(vq_invoke(NULL, 0, VQ_GET, NULL, 0, &result) == 91);
  CHECK(strcmp(vq_error_description(), "Object variable or With block variable not set") == 0);
  CHECK(strcmp(vq_error_source(), "vexqom_PLUMEK2") == 0);
  vq_object* none = NULL;
  CHECK(vq_create("vexqom_PLUMEK2.Nothing", &none) != 0 && none == NULL);

  CHECK(DllCanUnloadNow() == 1);
  CHECK(vq_release(vehicle) == 0);
  CHECK(DllCanUnloadNow() == 0);
  if (failures == 0) printf("vehicle_host: all checks passed\n");
  return failures == 0 ? 0 : 1;
}
