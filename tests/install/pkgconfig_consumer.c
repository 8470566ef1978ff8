/* Built with nothing but `pkg-config --cflags --libs vexqom`. */
#include <stdio.h>

#include "vexqom.h"

int main(void) {
  vq_object* vehicle = NULL;
  if (vq_create("vexqom_PLUMEK2.ICatVehicle", &vehicle) != 0) return 1;
  int32_t rc = vq_create("vexqom_PLUMEK2.NoSuchClass", &vehicle);
  printf("unknown class: %d\n", (int)rc);
  vq_release(vehicle);
  return 0;
}
