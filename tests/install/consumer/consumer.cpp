// Uses the installed headers and library: a vehicle through the C++ surface and a
// selection through the C interface.
#include <cstdio>
#include <cstring>

#include "vexqom.h"
#include "vexqom/ICatVehicle.h"

int main() {
  auto vehicle = vexqom::create<vexqom::ICatVehicle>();
  vehicle->put_Year(u"2004");
  vehicle->put_Make(u"Chevrolet");
  std::printf("%s|\n", vexqom::to_utf8(vehicle->get_Description()).c_str());

  vq_object* selection = nullptr;
  if (vq_create("vexqom_PLUMEK2.ICatItemCol", &selection) != 0) return 1;
  int32_t count = 0;
  vq_value result;
  if (vq_get_dispid(selection, "Count", &count) != 0 ||
      vq_invoke(selection, count, VQ_GET, nullptr, 0, &result) != 0)
    return 1;
  std::printf("count %lld\n", static_cast<long long>(result.i));
  vq_value_clear(&result);
  vq_release(selection);
  return 0;
}
