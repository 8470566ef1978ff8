// vexqom: open a stored catalog selection at a terminal and see it.
//
// Every subcommand reads FILE, or standard input for "-", as UTF-8 text. Failures are
// printed as "vexqom: FILE: message", one line each, and give status 1; wrong usage gives
// status 2.
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "tool_demo.h"
#include "tool_input.h"
#include "tool_json_form.h"
#include "tool_reports.h"
#include "tool_schema.h"
#include "vexqom.h"
#include "vexqom/ICatItemCol.h"
#include "vexqom/error.h"
#include "vexqom/typelib.h"
#include "vexqom/xml_text.h"

namespace {

using vexqom::Text;
using vexqom::tool::Refusal;

// One invocation: the file as named on the command line, its text, the options given.
struct Args {
  std::string file;
  std::string bytes;
  std::vector<std::string> options;

  bool has(std::string_view option) const {
    for (const std::string& o : options) {
      if (o == option || o.starts_with(std::string(option) + "=")) return true;
    }
    return false;
  }
  // The value of "--option=VALUE", empty when given bare.
  std::string value(std::string_view option) const {
    for (const std::string& o : options) {
      if (o.starts_with(std::string(option) + "=")) return o.substr(option.size() + 1);
    }
    return std::string();
  }
  Text text() const { return vexqom::from_utf8(bytes); }
};

struct Command {
  const char* name;
  const char* synopsis;
  const char* help;
  std::vector<std::string_view> options;  // "--schema=" also takes a value
  bool takes_file;
  int (*run)(const Args& args);
};

void write_text(const Text& text) {
  std::string bytes = vexqom::to_utf8(text);
  std::fwrite(bytes.data(), 1, bytes.size(), stdout);
}

// A selection from an item document; the library's own message when the text is not
// well-formed, a refusal when its root is not "Items".
vexqom::Ref<vexqom::ICatItemCol> load_selection(const Args& args) {
  const Text text = args.text();
  vexqom::validate_xml(text);
  vexqom::tool::require_item_document(args.bytes);
  auto selection = vexqom::create<vexqom::ICatItemCol>();
  selection->put_XML(text);
  return selection;
}

int run_show(const Args& args) {
  auto selection = load_selection(args);
  std::fputs((args.has("--json") ? vexqom::tool::selection_report_json(*selection)
                                 : vexqom::tool::selection_report(*selection))
                 .c_str(),
             stdout);
  return 0;
}

int run_summary(const Args& args) {
  auto selection = load_selection(args);
  std::fputs((args.has("--json") ? vexqom::tool::summary_report_json(*selection)
                                 : vexqom::tool::summary_report(*selection))
                 .c_str(),
             stdout);
  return 0;
}

// Pretty and validate stay in UTF-8 from the file to the output: a large document is
// never held as UTF-16 too.
int run_pretty(const Args& args) {
  const std::string output = vexqom::prettify_xml(std::string_view(args.bytes));
  std::fwrite(output.data(), 1, output.size(), stdout);
  return 0;
}

int run_compress(const Args& args) {
  write_text(vexqom::compress_xml(args.text()));
  return 0;
}

int run_validate(const Args& args) {
  vexqom::validate_xml(std::string_view(args.bytes));
  if (args.has("--schema")) {
    std::string schema = args.value("--schema");
    if (schema.empty()) schema = vexqom::tool::schema_for_root(vexqom::tool::root_element(args.bytes));
    std::string complaints;
    for (const std::string& line : vexqom::tool::schema_errors(args.bytes, schema)) {
      complaints += line + "\n";
    }
    if (!complaints.empty()) throw Refusal(complaints);
  }
  return 0;
}

int run_json(const Args& args) {
  vexqom::validate_xml(args.text());
  vexqom::tool::require_item_document(args.bytes);
  std::fputs(vexqom::tool::selection_json(args.bytes).c_str(), stdout);
  return 0;
}

int run_xml(const Args& args) {
  auto selection = vexqom::create<vexqom::ICatItemCol>();
  selection->put_XML(vexqom::tool::selection_xml(args.bytes));
  write_text(selection->get_XML());
  return 0;
}

int run_demo(const Args&) {
  auto selection = vexqom::tool::demo_selection();
  std::fputs(vexqom::tool::selection_report(*selection).c_str(), stdout);
  std::fputs("\nXML:\n", stdout);
  write_text(selection->get_XML());
  std::fputs("\n", stdout);
  return 0;
}

int run_typelib(const Args&) {
  std::fputs(vexqom::type_library_json().c_str(), stdout);
  return 0;
}

const Command kCommands[] = {
    {"show", "show [--json] FILE",
     "Loads the item document and prints the vehicle, one row per item\n"
     "(kind, vendor number, description, status, quantity to order, jobber cost)\n"
     "and the totals. Refuses text that is not an item document (root \"Items\").\n\n"
     "  --json  the same as a JSON object: \"vehicle\", \"items\", \"totals\";\n"
     "          amounts and quantities are strings with the library's exact text\n",
     {"--json"}, true, run_show},
    {"summary", "summary [--json] FILE",
     "Prints the distinct item descriptions with their item groups.\n\n"
     "  --json  the same as {\"descriptions\": [{\"description\": ..., \"group\": ...}]}\n",
     {"--json"}, true, run_summary},
    {"pretty", "pretty FILE", "Writes the text re-indented, one element per line.\n", {}, true,
     run_pretty},
    {"compress", "compress FILE",
     "Writes the text with its leading and trailing blanks trimmed and every empty\n"
     "element (<Name></Name>) removed together with the blanks around it; an element\n"
     "left empty by that goes too. Other line breaks and blanks stay.\n",
     {}, true, run_compress},
    {"validate", "validate [--schema[=XSD]] FILE",
     "Parses the text; prints nothing when it is well-formed, the parser's reason\n"
     "and location when it is not.\n\n"
     "  --schema      also checks it against the shipped XML Schema for its root\n"
     "                element (Items, Item, Prices, Price, Vehicle, ICatPresetCol,\n"
     "                ICatPreset, ICatList)\n"
     "  --schema=XSD  against that schema file instead\n",
     {"--schema", "--schema="}, true, run_validate},
    {"json", "json FILE",
     "Writes the whole selection in its JSON form: {\"XDocVersion\", \"Items\": [items\n"
     "with their \"Prices\"], \"Vehicle\"}, every field a string holding its element's\n"
     "text, named after the element. 'vexqom xml' turns it back into the item\n"
     "document, byte for byte when the library wrote it.\n",
     {}, true, run_json},
    {"xml", "xml FILE.json",
     "Reads a selection's JSON form (see 'vexqom json') and writes its item document\n"
     "as the library writes it, with no line end added.\n",
     {}, true, run_xml},
    {"demo", "demo", "Builds a sample selection in memory and prints it and its XML.\n", {},
     false, run_demo},
    {"typelib", "typelib",
     "Prints the type library as JSON: classes, creation names, identifiers,\n"
     "interfaces with their members in slot order, the event interface and the\n"
     "enumeration.\n",
     {}, false, run_typelib},
};

std::string usage() {
  std::string text = "usage: vexqom <command> [options] [FILE | -]\n"
                     "       vexqom --version\n\ncommands:\n";
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

bool known_option(const Command& c, std::string_view arg) {
  for (std::string_view o : c.options) {
    if (o.ends_with('=') ? arg.starts_with(o) && arg.size() > o.size() : arg == o) return true;
  }
  return false;
}

// Every line of a message under the prefix, with plain line ends: the library's messages
// separate their levels with CR LF.
void print_error(const std::string& file, std::string_view message) {
  const std::string prefix = "vexqom: " + (file.empty() ? std::string() : file + ": ");
  while (!message.empty()) {
    size_t end = message.find_first_of("\r\n");
    std::string_view line = message.substr(0, end);
    std::fprintf(stderr, "%s%.*s\n", prefix.c_str(), static_cast<int>(line.size()), line.data());
    if (end == std::string_view::npos) break;
    message.remove_prefix(end + (message.compare(end, 2, "\r\n") == 0 ? 2 : 1));
  }
}

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
  if (name == "--version") {
    std::printf("vexqom %s (library vexqom_PLUMEK2 %s)\n", VEXQOM_TOOL_VERSION, vq_version());
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
  Args args;
  std::vector<std::string> files;
  for (int i = 2; i < argc; ++i) {
    std::string_view arg = argv[i];
    if (is_help(arg)) {
      std::fputs(command_help(*command).c_str(), stdout);
      return 0;
    }
    if (arg.starts_with("--")) {
      if (!known_option(*command, arg)) {
        std::fprintf(stderr, "vexqom: %s: unknown option '%s'\n\n%s", command->name, argv[i],
                     command_help(*command).c_str());
        return 2;
      }
      args.options.emplace_back(arg);
    } else {
      files.emplace_back(arg);
    }
  }
  if (files.size() != (command->takes_file ? 1u : 0u)) {
    std::fputs(command_help(*command).c_str(), stderr);
    return 2;
  }
  if (command->takes_file) args.file = files.front();
  try {
    if (command->takes_file) args.bytes = vexqom::tool::read_input(args.file);
    int status = command->run(args);
    std::fflush(stdout);
    return status;
  } catch (const vexqom::Error& e) {
    std::fflush(stdout);
    print_error(args.file, vexqom::to_utf8(e.description()));
  } catch (const std::exception& e) {
    std::fflush(stdout);
    print_error(args.file, e.what());
  }
  return 1;
}
