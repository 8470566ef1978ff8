/* A C host: creates a vehicle by name, sets its fields through the C interface, reads the
 * description they compose, and sees the library unloadable once it lets go. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "host_checks.h"
#include "vexqom.h"

int main(void) {
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
  CHECK(DllCanUnloadNow() == 1);
  CHECK(vq_release(vehicle) == 0);
  CHECK(DllCanUnloadNow() == 0);
  if (failures == 0) printf("vehicle_host: all checks passed\n");
  return failures == 0 ? 0 : 1;
}
