// In-process server entry points: registration in a registry file, class factories and
// the unload test.
#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "capi/c_errors.h"
#include "capi/c_values.h"
#include "frame/class_info.h"
#include "frame/diagnostics.h"
#include "frame/registry.h"
#include "vexqom.h"
#include "vexqom/error.h"

namespace vexqom::capi {
namespace {

// Creates instances of one class; answers "CreateInstance" by dispatch.
class ClassFactory : public Object {
 public:
  static constexpr const char* kTypeName = "ClassFactory";
  explicit ClassFactory(const ClassInfo& target) : target_(target) {}

  Ref<Object> CreateInstance() { return target_.factory(); }

  const ClassInfo& class_info() const override {
    static const ClassInfo info = ClassBuilder<ClassFactory>("ClassFactory", "IClassFactory",
                                                             Guid{}, Guid{})
                                      .function("CreateInstance", 1,
                                                method<&ClassFactory::CreateInstance>())
                                      .build();
    return info;
  }

 private:
  const ClassInfo& target_;
};

std::string home_folder() {
  const char* home = std::getenv("HOME");
  if (home != nullptr && *home != '\0') return home;
  struct passwd entry {};
  struct passwd* found = nullptr;
  std::vector<char> buffer(16384);
  if (::getpwuid_r(::geteuid(), &entry, buffer.data(), buffer.size(), &found) == 0 &&
      found != nullptr && found->pw_dir != nullptr) {
    return found->pw_dir;
  }
  return ".";
}

std::filesystem::path registry_file() {
  // A relative XDG_DATA_HOME is invalid by the base-directory rules and ignored.
  const char* data_home = std::getenv("XDG_DATA_HOME");
  std::filesystem::path base;
  if (data_home != nullptr && *data_home == '/') {
    base = data_home;
  } else {
    base = std::filesystem::path(home_folder()) / ".local" / "share";
  }
  return base / "vexqom" / "classes";
}

std::vector<std::string> read_lines(const std::filesystem::path& file) {
  std::vector<std::string> lines;
  std::ifstream in(file);
  for (std::string line; std::getline(in, line);) {
    if (!line.empty()) lines.push_back(line);
  }
  return lines;
}

// Lines of other libraries stay; this library's lines are replaced or removed.
bool is_own_line(const std::string& line) {
  return line.rfind(std::string(kLibraryName) + ".", 0) == 0;
}

void write_registry(bool with_own_classes) {
  const std::filesystem::path file = registry_file();
  std::vector<std::string> kept;
  for (const std::string& line : read_lines(file)) {
    if (!is_own_line(line)) kept.push_back(line);
  }
  if (with_own_classes) {
    // Readers of the registry load the library from this path, whatever the working folder.
    const std::string library = std::filesystem::absolute(diag::library_file()).string();
    for (const ClassInfo* info : library_classes()) {
      kept.push_back(std::string(kLibraryName) + "." + info->name + "\t" +
                     info->clsid.to_string() + "\t" + library);
    }
  }
  std::filesystem::create_directories(file.parent_path());
  const std::filesystem::path temp = file.string() + ".tmp" + std::to_string(::getpid());
  {
    std::ofstream out(temp, std::ios::trunc);
    for (const std::string& line : kept) out << line << '\n';
    if (!out) throw Error(errc::kPathFileAccess);
  }
  std::filesystem::rename(temp, file);
}

// What a component client asks a class object for.
constexpr Guid kIidClassFactory{0x00000001, 0x0000, 0x0000,
                                {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};

Guid to_guid(const vq_guid& g) {
  Guid out;
  out.data1 = g.data1;
  out.data2 = g.data2;
  out.data3 = g.data3;
  for (int i = 0; i < 8; ++i) out.data4[i] = g.data4[i];
  return out;
}

}  // namespace
}  // namespace vexqom::capi

using namespace vexqom;
using namespace vexqom::capi;

extern "C" {

int32_t DllRegisterServer(void) {
  return guarded([] { write_registry(true); });
}

int32_t DllUnregisterServer(void) {
  return guarded([] { write_registry(false); });
}

int32_t DllGetClassObject(const vq_guid* clsid, const vq_guid* iid, vq_object** out) {
  return guarded([&] {
    if (out == nullptr || clsid == nullptr) throw Error(errc::kInvalidArgument);
    *out = nullptr;
    if (iid != nullptr) {
      Guid wanted = to_guid(*iid);
      if (!(wanted == ids::kIidUnknown || wanted == ids::kIidDispatch ||
            wanted == kIidClassFactory)) {
        throw Error(errc::kNoInterface);
      }
    }
    const ClassInfo* info = find_class_by_clsid(to_guid(*clsid));
    if (info == nullptr) throw Error(errc::kClassNotRegistered);
    *out = to_handle(create<ClassFactory>(*info).detach());
  });
}

int32_t DllCanUnloadNow(void) { return Object::live_count() == 0 ? 0 : 1; }

}  // extern "C"
