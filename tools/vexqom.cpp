// vexqom: open a stored catalog selection at a terminal and see it.
//
// Every subcommand reads FILE, or standard input for "-", as UTF-8 text. On failure the
// library's composed error message goes to standard error and the status is 1; wrong
// usage gives status 2.
#include <sys/stat.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "vexqom/ICatItemCol.h"
#include "vexqom/error.h"
#include "vexqom/typelib.h"
#include "vexqom/xml_text.h"
#include "tool_demo.h"
#include "tool_table.h"

namespace {

using vexqom::Text;

struct Command {
  const char* name;
  const char* synopsis;
  const char* help;
  bool takes_file;
  int (*run)(const std::string& input);  // the file's bytes, UTF-8
};


// The whole stream, read into one string: a regular file in one piece of its own size,
// anything else in blocks that grow geometrically.
std::string read_stream(std::FILE* in) {
  struct stat info {};
  const bool regular = fstat(fileno(in), &info) == 0 && S_ISREG(info.st_mode);
  std::string bytes;
  // One byte beyond a regular file's size, so that its end shows as a short read.
  bytes.resize(regular ? static_cast<size_t>(info.st_size) + 1 : size_t{1} << 16);
  size_t used = 0;
  for (;;) {
    used += std::fread(bytes.data() + used, 1, bytes.size() - used, in);
    if (used < bytes.size()) break;
    bytes.resize(bytes.size() * 2);
  }
  bytes.resize(used);
  return bytes;
}

std::string read_all(const std::string& path) {
  if (path == "-") return read_stream(stdin);
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> in(std::fopen(path.c_str(), "rb"), &std::fclose);
  if (!in) throw vexqom::Error(vexqom::errc::kFileNotFound, vexqom::from_utf8("File not found: " + path));
  return read_stream(in.get());
}

void write_text(const Text& text) {
  std::string bytes = vexqom::to_utf8(text);
  std::fwrite(bytes.data(), 1, bytes.size(), stdout);
}

int run_show(const std::string& input) {
  auto selection = vexqom::create<vexqom::ICatItemCol>();
  selection->put_XML(vexqom::from_utf8(input));
  std::fputs(vexqom::tool::selection_report(*selection).c_str(), stdout);
  return 0;
}

int run_summary(const std::string& input) {
  auto selection = vexqom::create<vexqom::ICatItemCol>();
  selection->put_XML(vexqom::from_utf8(input));
  std::fputs(vexqom::tool::summary_report(*selection).c_str(), stdout);
  return 0;
}

// Pretty and validate stay in UTF-8 from the file to the output: a large document is
// never held as UTF-16 too.
int run_pretty(const std::string& input) {
  const std::string output = vexqom::prettify_xml(std::string_view(input));
  std::fwrite(output.data(), 1, output.size(), stdout);
  return 0;
}

int run_compress(const std::string& input) {
  write_text(vexqom::compress_xml(vexqom::from_utf8(input)));
  return 0;
}

int run_validate(const std::string& input) {
  vexqom::validate_xml(std::string_view(input));
  return 0;
}

int run_demo(const std::string&) {
  auto selection = vexqom::tool::demo_selection();
  std::fputs(vexqom::tool::selection_report(*selection).c_str(), stdout);
  std::fputs("\nXML:\n", stdout);
  write_text(selection->get_XML());
  std::fputs("\n", stdout);
  return 0;
}

int run_typelib(const std::string&) {
  std::fputs(vexqom::type_library_json().c_str(), stdout);
  return 0;
}

const Command kCommands[] = {
    {"show", "show FILE", "Loads the item document and prints the vehicle, one row per item\n"
     "(kind, vendor number, description, status, quantity to order, jobber cost)\n"
     "and the totals.\n", true, run_show},
    {"summary", "summary FILE", "Prints the distinct item descriptions with their item groups.\n",
     true, run_summary},
    {"pretty", "pretty FILE", "Writes the text re-indented, one element per line.\n", true,
     run_pretty},
    {"compress", "compress FILE",
     "Writes the text with surrounding blanks and empty elements removed.\n", true, run_compress},
    {"validate", "validate FILE",
     "Parses the text; prints nothing when it is well-formed, the parser's reason\n"
     "and location when it is not.\n", true, run_validate},
    {"demo", "demo", "Builds a sample selection in memory and prints it and its XML.\n", false,
     run_demo},
    {"typelib", "typelib",
     "Prints the type library as JSON: classes, creation names, identifiers,\n"
     "interfaces with their members in slot order, the event interface and the\n"
     "enumeration.\n", false, run_typelib},
};

std::string usage() {
  std::string text = "usage: vexqom <command> [FILE | -]\n\ncommands:\n";
  for (const Command& c : kCommands) {
    text += "  vexqom " + std::string(c.synopsis) + "\n";
  }
  text += "\nFILE is read as UTF-8 text; \"-\" reads standard input.\n"
          "Run 'vexqom <command> --help' for a command's own help.\n";
  return text;
}

std::string command_help(const Command& c) {
  return "usage: vexqom " + std::string(c.synopsis) + "\n\n" + c.help;
}

bool is_help(std::string_view arg) { return arg == "--help" || arg == "-h"; }

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fputs(usage().c_str(), stderr);
    return 2;
  }
  std::string_view name = argv[1];
  if (is_help(name)) {
    std::fputs(usage().c_str(), stdout);
    return 0;
  }
  const Command* command = nullptr;
  for (const Command& c : kCommands) {
    if (name == c.name) command = &c;
  }
  if (command == nullptr) {
    std::fprintf(stderr, "vexqom: unknown command '%s'\n\n%s", argv[1], usage().c_str());
    return 2;
  }
  for (int i = 2; i < argc; ++i) {
    if (is_help(argv[i])) {
      std::fputs(command_help(*command).c_str(), stdout);
      return 0;
    }
  }
  const int wanted = command->takes_file ? 3 : 2;
  if (argc != wanted) {
    std::fprintf(stderr, "%s", command_help(*command).c_str());
    return 2;
  }
  try {
    const std::string input = command->takes_file ? read_all(argv[2]) : std::string();
    int status = command->run(input);
    std::fflush(stdout);
    return status;
  } catch (const vexqom::Error& e) {
    std::fflush(stdout);
    std::fprintf(stderr, "%s\n", vexqom::to_utf8(e.description()).c_str());
    return 1;
  } catch (const std::exception& e) {
    std::fprintf(stderr, "%s\n", e.what());
    return 1;
  }
}
