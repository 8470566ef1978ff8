// vexqom: open a stored catalog selection at a terminal and see it.
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>

#include "vexqom/ICatVehicle.h"
#include "vexqom/error.h"

namespace {

constexpr const char* kUsage =
    "usage: vexqom <command> [FILE | -]\n"
    "\n"
    "commands:\n"
    "  demo        build a sample selection in memory and print it\n"
    "\n"
    "Run 'vexqom <command> --help' for a command's own help.\n";

constexpr const char* kDemoHelp =
    "usage: vexqom demo\n"
    "Builds a sample vehicle in memory and prints its fields.\n";

void print(const vexqom::Text& text) { std::fputs(vexqom::to_utf8(text).c_str(), stdout); }

int run_demo() {
  auto vehicle = vexqom::create<vexqom::ICatVehicle>();
  vehicle->put_Year(u"2004");
  vehicle->put_Make(u"Chevrolet");
  vehicle->put_Model(u"Silverado 1500");
  vehicle->put_Engine(u"5.3L V8");
  vehicle->put_VIN(u"1GCEK19T44E123456");
  vehicle->put_Plate(u"7KLM214");
  vehicle->put_CurrentMileage(u"148210");
  std::printf("Vehicle\n");
  std::printf("  %-16s", "Description");
  print(vehicle->get_Description());
  std::printf("\n  %-16s", "VIN");
  print(vehicle->get_VIN());
  std::printf("\n  %-16s", "Plate");
  print(vehicle->get_Plate());
  std::printf("\n  %-16s", "Mileage");
  print(vehicle->get_CurrentMileage());
  std::printf("\n");
  return 0;
}

bool is_help(std::string_view arg) { return arg == "--help" || arg == "-h"; }

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fputs(kUsage, stderr);
    return 2;
  }
  std::string_view command = argv[1];
  if (is_help(command)) {
    std::fputs(kUsage, stdout);
    return 0;
  }
  try {
    if (command == "demo") {
      if (argc > 2 && is_help(argv[2])) {
        std::fputs(kDemoHelp, stdout);
        return 0;
      }
      if (argc > 2) {
        std::fputs(kDemoHelp, stderr);
        return 2;
      }
      return run_demo();
    }
  } catch (const vexqom::Error& e) {
    std::fprintf(stderr, "%s\n", vexqom::to_utf8(e.description()).c_str());
    return 1;
  }
  std::fprintf(stderr, "vexqom: unknown command '%s'\n\n%s", argv[1], kUsage);
  return 2;
}
