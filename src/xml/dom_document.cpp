#include "xml/dom_document.h"

#include <fcntl.h>
#include <libxml/parser.h>
#include <libxml/parserInternals.h>
#include <libxml/tree.h>
#include <libxml/valid.h>
#include <libxml/xmlIO.h>
#include <libxml/xmlerror.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <exception>
#include <memory>
#include <mutex>
#include <system_error>

#include "frame/class_info.h"

namespace vexqom {

namespace {

// ---- External entities ------------------------------------------------------------
//
// libxml2's entity loader is process-wide, so ours is installed once and asks a
// per-thread policy: outside our parses it hands over to the loader it replaced.

enum class LoadPolicy { kOutside, kDeny, kLocalOnly };

thread_local LoadPolicy tls_load_policy = LoadPolicy::kOutside;
xmlExternalEntityLoader previous_loader = nullptr;

// Any scheme but "file", in any letter case.
bool is_remote(const char* url) {
  const size_t scheme_end = std::string_view(url).find("://");
  return scheme_end != std::string_view::npos &&
         !(scheme_end == 4 && ::strncasecmp(url, "file", 4) == 0);
}

xmlParserInputPtr guarded_loader(const char* url, const char* id, xmlParserCtxtPtr ctxt) {
  switch (tls_load_policy) {
    case LoadPolicy::kOutside:
      return previous_loader != nullptr ? previous_loader(url, id, ctxt) : nullptr;
    case LoadPolicy::kDeny:
      return nullptr;
    case LoadPolicy::kLocalOnly:
      if (url != nullptr && is_remote(url)) return nullptr;
      // Still refuses http/ftp should a catalog map the name to one.
      return xmlNoNetExternalEntityLoader(url, id, ctxt);
  }
  return nullptr;
}

void init_library() {
  static std::once_flag once;
  std::call_once(once, [] {
    xmlInitParser();
    previous_loader = xmlGetExternalEntityLoader();
    xmlSetExternalEntityLoader(guarded_loader);
  });
}

// ---- Error capture ----------------------------------------------------------------

struct Capture {
  bool have = false;
  DomParseError first;
  // A reading with the size limits lifted: once a fatal error has decided that it fails,
  // it goes on under the default limits, as a default reading would (which stops, say,
  // at the default depth instead of stacking every start tag of the rest).
  xmlParserCtxtPtr lifted = nullptr;
};

// The capture of the parse running on this thread. Errors reach the handler both through
// the parser context (whose user data the parser itself needs) and through the thread's
// structured handler, so the handler finds its capture here.
thread_local Capture* tls_capture = nullptr;

std::string strip_line_end(const char* message) {
  std::string s = message != nullptr ? message : "";
  while (!s.empty() && (s.back() == '\n' || s.back() == '\r')) s.pop_back();
  return s;
}

void capture_error(void*, xmlErrorPtr e) {
  Capture* capture = tls_capture;
  if (capture == nullptr || e == nullptr) return;
  if (capture->lifted != nullptr && e->level == XML_ERR_FATAL) {
    capture->lifted->options &= ~XML_PARSE_HUGE;
    capture->lifted = nullptr;
  }
  if (capture->have) return;
  if (e->level < XML_ERR_ERROR) return;
  // Asking for validation of a document without a DTD is not a failure.
  if (e->code == XML_DTD_NO_DTD) return;
  capture->have = true;
  capture->first.code = e->code;
  capture->first.reason = strip_line_end(e->message);
  capture->first.line = e->line;
  capture->first.column = e->int2;
}

void silent_generic(void*, const char*, ...) {}

// For the duration of one parse on this thread: errors go to the capture (never to
// stderr) and the entity loader follows the given policy. Everything is restored after.
class ParseScope {
 public:
  ParseScope(Capture* capture, LoadPolicy policy)
      : saved_structured_(xmlStructuredError),
        saved_structured_ctx_(xmlStructuredErrorContext),
        saved_generic_(xmlGenericError),
        saved_generic_ctx_(xmlGenericErrorContext),
        saved_policy_(tls_load_policy),
        saved_capture_(tls_capture) {
    tls_capture = capture;
    xmlSetStructuredErrorFunc(nullptr, capture_error);
    xmlSetGenericErrorFunc(nullptr, silent_generic);
    tls_load_policy = policy;
  }
  ~ParseScope() {
    tls_load_policy = saved_policy_;
    tls_capture = saved_capture_;
    xmlSetGenericErrorFunc(saved_generic_ctx_, saved_generic_);
    xmlSetStructuredErrorFunc(saved_structured_ctx_, saved_structured_);
  }
  ParseScope(const ParseScope&) = delete;
  ParseScope& operator=(const ParseScope&) = delete;

 private:
  xmlStructuredErrorFunc saved_structured_;
  void* saved_structured_ctx_;
  xmlGenericErrorFunc saved_generic_;
  void* saved_generic_ctx_;
  LoadPolicy saved_policy_;
  Capture* saved_capture_;
};

// The text libxml2 allocated, as a string; the allocation goes.
std::string take(xmlChar* s) {
  std::string out = s != nullptr ? reinterpret_cast<const char*>(s) : "";
  xmlFree(s);
  return out;
}

// ---- White space ------------------------------------------------------------------

bool is_white_space_only(const xmlChar* content) {
  if (content == nullptr) return true;
  for (const xmlChar* p = content; *p != 0; ++p) {
    if (*p != ' ' && *p != '\t' && *p != '\r' && *p != '\n') return false;
  }
  return true;
}

// The parser's own blank removal is a heuristic; this makes sure no white-space-only
// text node is left, except under xml:space="preserve".
void drop_white_space_text(xmlNodePtr root) {
  std::vector<xmlNodePtr> pending{root};
  while (!pending.empty()) {
    xmlNodePtr element = pending.back();
    pending.pop_back();
    const bool preserve = xmlNodeGetSpacePreserve(element) == 1;
    xmlNodePtr child = element->children;
    while (child != nullptr) {
      xmlNodePtr next = child->next;
      if (child->type == XML_ELEMENT_NODE) {
        pending.push_back(child);
      } else if (child->type == XML_TEXT_NODE && !preserve &&
                 is_white_space_only(child->content)) {
        xmlUnlinkNode(child);
        xmlFreeNode(child);
      }
      child = next;
    }
  }
}

// ---- Parsing ----------------------------------------------------------------------

constexpr int kBaseOptions = XML_PARSE_NONET | XML_PARSE_NOBLANKS | XML_PARSE_BIG_LINES;

int options_for(bool validate) {
  // Entities are substituted so that text and attribute values come resolved; the
  // loader policy keeps external ones out unless validation is asked.
  int options = kBaseOptions | XML_PARSE_NOENT;
  if (validate) options |= XML_PARSE_DTDLOAD | XML_PARSE_DTDVALID | XML_PARSE_DTDATTR;
  return options;
}

Ref<DomDocument> no_document(DomParseError* error, DomParseError failure) {
  if (error != nullptr) *error = std::move(failure);
  return Ref<DomDocument>();
}

// The parser's default limits refuse a text node, an attribute value or a look-ahead past
// this size, so a larger document the library wrote could not be read. Such a document is
// read with the limits lifted, which also lifts the entity expansion checks and the depth
// limit: that reading therefore stops at a document type (the only place entities can be
// declared) and at the depth the default limit refuses, and the document is then read
// with the default limits after all, which refuse it exactly as before.
constexpr size_t kDefaultLimit = XML_MAX_TEXT_LENGTH;

// One reading of a text: the tree builder's own handlers, with ours around three of them.
struct ParseRun {
  xmlSAXHandler builder{};  // the tree builder's handlers, which ours call
  bool limits_lifted = false;
  bool tripped = false;  // the lifted reading met what it must not read
  DomVisitor* visitor = nullptr;
  bool streaming = false;   // hand each part on and let it go
  bool whole_tree = false;  // a document type: entities need the tree, so keep it
  std::exception_ptr visitor_failure;
};

ParseRun& run_of(void* ctx) {
  return *static_cast<ParseRun*>(static_cast<xmlParserCtxtPtr>(ctx)->_private);
}

void trip(xmlParserCtxtPtr ctxt, ParseRun& run) {
  run.tripped = true;
  xmlStopParser(ctxt);
}

// Calls the visitor; what it throws stops the reading and is kept for the caller, since it
// must not cross the parser's C frames.
template <class F>
void visit(xmlParserCtxtPtr ctxt, ParseRun& run, F&& call) {
  if (run.visitor == nullptr || run.visitor_failure) return;
  try {
    std::forward<F>(call)();
  } catch (...) {
    run.visitor_failure = std::current_exception();
    xmlStopParser(ctxt);
  }
}

bool streams(const ParseRun& run) { return run.streaming && !run.whole_tree; }

// A node about to be freed must not take its ID with it: later duplicates are still
// refused as in the whole tree. The entry stays, without its attribute.
void keep_ids(xmlNodePtr subtree) {
  if (subtree->doc == nullptr || subtree->doc->ids == nullptr) return;
  std::vector<xmlNodePtr> pending{subtree};
  while (!pending.empty()) {
    xmlNodePtr node = pending.back();
    pending.pop_back();
    if (node->type != XML_ELEMENT_NODE) continue;
    for (xmlAttrPtr a = node->properties; a != nullptr; a = a->next) {
      if ((a->atype & ~(15U << 27)) != XML_ATTRIBUTE_ID) continue;
      if (a->children != nullptr && a->children->content != nullptr) {
        auto* id = static_cast<xmlIDPtr>(xmlHashLookup(
            static_cast<xmlIDTablePtr>(subtree->doc->ids), a->children->content));
        if (id != nullptr && id->attr == a) id->attr = nullptr;
      }
      a->atype = static_cast<xmlAttributeType>(0);
    }
    for (xmlNodePtr c = node->children; c != nullptr; c = c->next) pending.push_back(c);
  }
}

void discard(xmlNodePtr node) {
  keep_ids(node);
  xmlUnlinkNode(node);
  xmlFreeNode(node);
}

// The element's children read so far are complete: those a parsed tree keeps (no text
// of white space only, no empty text) go to the visitor, and all go.
void hand_on_children(xmlParserCtxtPtr ctxt, ParseRun& run, xmlNodePtr element) {
  int preserve = -2;  // looked up once, when needed
  for (xmlNodePtr child = element->children; child != nullptr;) {
    xmlNodePtr next = child->next;
    bool kept = child->type != XML_ELEMENT_NODE;  // elements went at their end
    if (child->type == XML_TEXT_NODE) {
      if (child->content == nullptr || child->content[0] == 0) {
        kept = false;
      } else if (is_white_space_only(child->content)) {
        if (preserve == -2) preserve = xmlNodeGetSpacePreserve(element);
        kept = preserve == 1;
      }
    }
    if (kept) visit(ctxt, run, [&] { run.visitor->child_node(DomDocument::node_of(child)); });
    discard(child);
    child = next;
  }
}

void on_internal_subset(void* ctx, const xmlChar* name, const xmlChar* external_id,
                        const xmlChar* system_id) {
  ParseRun& run = run_of(ctx);
  if (run.limits_lifted) return trip(static_cast<xmlParserCtxtPtr>(ctx), run);
  run.whole_tree = true;
  run.builder.internalSubset(ctx, name, external_id, system_id);
}

void on_start_element(void* ctx, const xmlChar* localname, const xmlChar* prefix,
                      const xmlChar* uri, int nb_namespaces, const xmlChar** namespaces,
                      int nb_attributes, int nb_defaulted, const xmlChar** attributes) {
  auto ctxt = static_cast<xmlParserCtxtPtr>(ctx);
  ParseRun& run = run_of(ctx);
  // The default limit refuses an element opened below this many.
  if (run.limits_lifted && static_cast<unsigned>(ctxt->nameNr) > xmlParserMaxDepth) {
    return trip(ctxt, run);
  }
  xmlNodePtr parent = ctxt->node;
  if (streams(run) && parent != nullptr) hand_on_children(ctxt, run, parent);
  // A stopped parser has let its text go, which the attribute values point into.
  if (run.visitor_failure) return;
  run.builder.startElementNs(ctx, localname, prefix, uri, nb_namespaces, namespaces,
                             nb_attributes, nb_defaulted, attributes);
  if (streams(run) && ctxt->node != nullptr && ctxt->node != parent) {
    xmlNodePtr element = ctxt->node;
    visit(ctxt, run, [&] { run.visitor->start_element(DomDocument::node_of(element)); });
  }
}

void on_end_element(void* ctx, const xmlChar* localname, const xmlChar* prefix,
                    const xmlChar* uri) {
  auto ctxt = static_cast<xmlParserCtxtPtr>(ctx);
  ParseRun& run = run_of(ctx);
  xmlNodePtr element = ctxt->node;
  run.builder.endElementNs(ctx, localname, prefix, uri);
  if (!streams(run) || element == nullptr) return;
  hand_on_children(ctxt, run, element);
  visit(ctxt, run, [&] { run.visitor->end_element(DomDocument::node_of(element)); });
  // The root stays as the document's element; everything below it goes.
  if (element->parent != nullptr && element->parent->type == XML_ELEMENT_NODE) {
    discard(element);
  }
}

struct Parsed {
  std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> doc{nullptr, xmlFreeDoc};
  bool whole_tree = false;
};

// One reading; no document, with *failure filled, when the text is refused (or when the
// reading was stopped: run.tripped, run.visitor_failure).
Parsed read_once(std::string_view bytes, const char* url, const char* encoding, int options,
                 bool validate, ParseRun& run, DomParseError* failure) {
  Capture capture;
  Parsed parsed;
  std::unique_ptr<xmlParserCtxt, decltype(&xmlFreeParserCtxt)> ctxt(xmlNewParserCtxt(),
                                                               xmlFreeParserCtxt);
  if (!ctxt) {
    *failure = {XML_ERR_NO_MEMORY, "Out of memory", 0, 0};
    return parsed;
  }
  run.builder = *ctxt->sax;
  ctxt->_private = &run;
  if (run.limits_lifted) capture.lifted = ctxt.get();
  ctxt->sax->internalSubset = on_internal_subset;
  ctxt->sax->startElementNs = on_start_element;
  ctxt->sax->endElementNs = on_end_element;
  {
    ParseScope scope(&capture, validate ? LoadPolicy::kLocalOnly : LoadPolicy::kDeny);
    // Errors raised with the parser context go to the context's own channel.
    ctxt->sax->serror = capture_error;
    parsed.doc.reset(xmlCtxtReadMemory(ctxt.get(), bytes.data(), static_cast<int>(bytes.size()),
                                       url, encoding,
                                       options | (run.limits_lifted ? XML_PARSE_HUGE : 0)));
  }
  parsed.whole_tree = run.whole_tree;
  if (run.tripped || run.visitor_failure) {
    parsed.doc.reset();
    return parsed;
  }
  const bool failed = !parsed.doc || ctxt->wellFormed == 0 || ctxt->nsWellFormed == 0 ||
                      (validate && ctxt->valid == 0 && capture.have);
  if (failed) {
    parsed.doc.reset();
    if (!capture.have) {
      capture.first = {XML_ERR_INTERNAL_ERROR, "The document could not be parsed", 0, 0};
    }
    *failure = std::move(capture.first);
  }
  return parsed;
}

// A document too large for the default limits is first read with them lifted; when that
// reading trips, the default one decides (see kDefaultLimit). A reading that trips has
// handed nothing to the visitor that a successful reading would use: a document type
// comes before the root element, and a document nested too deep is refused.
Parsed read(std::string_view bytes, const char* url, const char* encoding, int options,
            bool validate, DomVisitor* visitor, bool streaming, DomParseError* failure,
            std::exception_ptr* visitor_failure) {
  init_library();
  if (bytes.size() > static_cast<size_t>(INT_MAX)) {
    *failure = {XML_ERR_INTERNAL_ERROR, "Document too large", 0, 0};
    return Parsed();
  }
  const bool large = bytes.size() > kDefaultLimit;
  for (bool lifted : {true, false}) {
    if (lifted && !large) continue;
    ParseRun run;
    run.limits_lifted = lifted;
    run.visitor = visitor;
    run.streaming = streaming;
    Parsed parsed = read_once(bytes, url, encoding, options, validate, run, failure);
    if (run.visitor_failure) {
      *visitor_failure = run.visitor_failure;
      return Parsed();
    }
    if (!run.tripped) return parsed;
  }
  return Parsed();  // not reached: the default reading never trips
}

// A whole tree handed to a visitor in document order, as a streaming reading hands it.
void walk(const DomNode& element, DomVisitor& visitor) {
  visitor.start_element(element);
  for (const DomNode& child : element.child_nodes()) {
    if (child.type() == DomNode::kElement) {
      walk(child, visitor);
    } else {
      visitor.child_node(child);
    }
  }
  visitor.end_element(element);
}

}  // namespace

DomNode DomDocument::node_of(void* node) { return DomNode(Ref<DomDocument>(), node); }

Ref<DomDocument> DomDocument::parse_bytes(std::string_view bytes, const char* url,
                                          const char* encoding, int options, bool validate,
                                          DomParseError* error) {
  DomParseError failure;
  std::exception_ptr no_visitor;
  Parsed parsed =
      read(bytes, url, encoding, options, validate, nullptr, false, &failure, &no_visitor);
  if (!parsed.doc) return no_document(error, std::move(failure));
  if (xmlNodePtr root = xmlDocGetRootElement(parsed.doc.get())) drop_white_space_text(root);
  return Ref<DomDocument>(new DomDocument(parsed.doc.release()));
}

bool DomDocument::stream_text(std::string_view utf8, DomVisitor* visitor, DomParseError* error,
                              std::exception_ptr* visitor_failure) {
  // Named, the encoding costs the parser a second copy of the text, converted from the
  // first; unnamed, it is UTF-8 unless the first four bytes say otherwise, which only
  // NULs among them can do in well-formed UTF-8. A byte order mark is read as a named
  // UTF-8 reading reads it (an empty document after it is "empty").
  const bool nul_at_start = utf8.substr(0, 4).find('\0') != std::string_view::npos ||
                            utf8.starts_with("\xEF\xBB\xBF");
  DomParseError failure;
  Parsed parsed = read(utf8, nullptr, nul_at_start ? "UTF-8" : nullptr,
                       options_for(false) | XML_PARSE_IGNORE_ENC, false, visitor, true, &failure,
                       visitor_failure);
  if (*visitor_failure) return true;
  if (!parsed.doc) {
    if (error != nullptr) *error = std::move(failure);
    return false;
  }
  if (parsed.whole_tree && visitor != nullptr) {
    try {
      Ref<DomDocument> document(new DomDocument(parsed.doc.get()));
      parsed.doc.release();
      DomNode root = document->document_element();
      if (root) drop_white_space_text(static_cast<xmlNodePtr>(root.node_));
      if (DomNode doctype = document->doctype()) visitor->document_type(doctype);
      root.normalize();
      walk(root, *visitor);
    } catch (...) {
      *visitor_failure = std::current_exception();
    }
  }
  return true;
}

Ref<DomDocument> DomDocument::parse_text(std::string_view utf8, bool validate,
                                         DomParseError* error) {
  // The bytes are UTF-8 whatever the declaration names.
  return parse_bytes(utf8, nullptr, "UTF-8", options_for(validate) | XML_PARSE_IGNORE_ENC,
                        validate, error);
}

Ref<DomDocument> DomDocument::parse_file(const std::string& path, bool validate,
                                         DomParseError* error) {
  auto io_failure = [&](int err) {
    int code = XML_IO_UNKNOWN;
    switch (err) {
      case ENOENT: code = XML_IO_ENOENT; break;
      case EACCES: code = XML_IO_EACCES; break;
      case EISDIR: code = XML_IO_EISDIR; break;
      case ENOTDIR: code = XML_IO_ENOTDIR; break;
      case ENAMETOOLONG: code = XML_IO_ENAMETOOLONG; break;
      default: break;
    }
    return no_document(error,
                       {code, std::error_code(err, std::generic_category()).message(), 0, 0});
  };
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return io_failure(errno);
  std::string bytes;
  struct stat st{};
  int err = 0;
  if (::fstat(fd, &st) != 0) {
    err = errno;
  } else if (S_ISDIR(st.st_mode)) {
    err = EISDIR;
  } else {
    if (st.st_size > 0) bytes.reserve(static_cast<size_t>(st.st_size));
    char chunk[65536];
    for (;;) {
      const ssize_t n = ::read(fd, chunk, sizeof chunk);
      if (n < 0) {
        if (errno == EINTR) continue;
        err = errno;
        break;
      }
      if (n == 0) break;
      bytes.append(chunk, static_cast<size_t>(n));
    }
  }
  ::close(fd);
  if (err != 0) return io_failure(err);
  // The file's own declaration (or byte order mark) decides its encoding; its name is the
  // base for relative DTD references.
  return parse_bytes(bytes, path.c_str(), nullptr, options_for(validate), validate, error);
}

DomDocument::~DomDocument() { xmlFreeDoc(static_cast<xmlDocPtr>(doc_)); }

const ClassInfo& DomDocument::class_info() const { return private_class_info(kTypeName); }

DomNode DomDocument::document_element() {
  xmlNodePtr root = xmlDocGetRootElement(static_cast<xmlDocPtr>(doc_));
  return root != nullptr ? DomNode(Ref<DomDocument>(this), root) : DomNode();
}

DomNode DomDocument::doctype() {
  xmlDtdPtr dtd = xmlGetIntSubset(static_cast<xmlDocPtr>(doc_));
  return dtd != nullptr ? DomNode(Ref<DomDocument>(this), dtd) : DomNode();
}

std::string DomDocument::xml() {
  xmlChar* out = nullptr;
  int size = 0;
  xmlDocDumpMemory(static_cast<xmlDocPtr>(doc_), &out, &size);
  return take(out);
}

// ---- Nodes ------------------------------------------------------------------------

namespace {

xmlNodePtr as_node(void* p) { return static_cast<xmlNodePtr>(p); }

std::string qualified(const xmlNs* ns, const xmlChar* name) {
  std::string out;
  if (ns != nullptr && ns->prefix != nullptr) {
    out = reinterpret_cast<const char*>(ns->prefix);
    out += ':';
  }
  if (name != nullptr) out += reinterpret_cast<const char*>(name);
  return out;
}

// The first child as the DOM sees it: an entity reference holds its entity's nodes.
xmlNodePtr first_child(xmlNodePtr node) {
  if (node->type == XML_ENTITY_REF_NODE) {
    auto* entity = reinterpret_cast<xmlEntityPtr>(node->children);
    return entity != nullptr ? entity->children : nullptr;
  }
  return node->children;
}

}  // namespace

// libxml2 numbers its node kinds as the DOM does, apart from kinds of its own.
static_assert(int{XML_ELEMENT_NODE} == DomNode::kElement &&
              int{XML_NOTATION_NODE} == DomNode::kNotation);

int32_t DomNode::type() const {
  if (node_ == nullptr) return 0;
  switch (const xmlElementType type = as_node(node_)->type) {
    case XML_HTML_DOCUMENT_NODE: return kDocument;
    case XML_DTD_NODE: return kDocumentType;
    case XML_ENTITY_DECL: return kEntity;
    default: return static_cast<int32_t>(type);
  }
}

std::string DomNode::name() const {
  if (node_ == nullptr) return std::string();
  xmlNodePtr n = as_node(node_);
  switch (n->type) {
    case XML_ELEMENT_NODE:
    case XML_ATTRIBUTE_NODE: return qualified(n->ns, n->name);
    case XML_TEXT_NODE: return "#text";
    case XML_CDATA_SECTION_NODE: return "#cdata-section";
    case XML_COMMENT_NODE: return "#comment";
    case XML_DOCUMENT_NODE:
    case XML_HTML_DOCUMENT_NODE: return "#document";
    case XML_DOCUMENT_FRAG_NODE: return "#document-fragment";
    default: return n->name != nullptr ? reinterpret_cast<const char*>(n->name) : "";
  }
}

std::vector<DomAttribute> DomNode::attributes() const {
  std::vector<DomAttribute> out;
  if (node_ == nullptr || as_node(node_)->type != XML_ELEMENT_NODE) return out;
  xmlNodePtr n = as_node(node_);
  for (xmlNsPtr ns = n->nsDef; ns != nullptr; ns = ns->next) {
    std::string name = "xmlns";
    if (ns->prefix != nullptr) {
      name += ':';
      name += reinterpret_cast<const char*>(ns->prefix);
    }
    out.push_back({std::move(name),
                   ns->href != nullptr ? reinterpret_cast<const char*>(ns->href) : ""});
  }
  for (xmlAttrPtr a = n->properties; a != nullptr; a = a->next) {
    out.push_back({qualified(a->ns, a->name), take(xmlNodeListGetString(n->doc, a->children, 1))});
  }
  return out;
}

std::vector<DomNode> DomNode::child_nodes() const {
  std::vector<DomNode> out;
  if (node_ == nullptr) return out;
  for (xmlNodePtr c = first_child(as_node(node_)); c != nullptr; c = c->next) {
    out.push_back(DomNode(document_, c));
  }
  return out;
}

std::string DomNode::text() const {
  if (node_ == nullptr) return std::string();
  return take(xmlNodeGetContent(as_node(node_)));
}

std::string DomNode::xml() const {
  if (node_ == nullptr) return std::string();
  std::unique_ptr<xmlBuffer, void (*)(xmlBufferPtr)> buffer(xmlBufferCreate(), xmlBufferFree);
  if (!buffer) return std::string();
  xmlNodePtr n = as_node(node_);
  xmlNodeDump(buffer.get(), n->doc, n, 0, 0);
  const char* content = reinterpret_cast<const char*>(xmlBufferContent(buffer.get()));
  const std::string_view raw(content != nullptr ? content : "",
                             static_cast<size_t>(xmlBufferLength(buffer.get())));
  // Line breaks as the rest of the engine's output has them: CR LF.
  std::string out;
  out.reserve(raw.size());
  for (size_t i = 0; i < raw.size(); ++i) {
    if (raw[i] == '\n' && (i == 0 || raw[i - 1] != '\r')) out += '\r';
    out += raw[i];
  }
  return out;
}

void DomNode::normalize() {
  if (node_ == nullptr) return;
  std::vector<xmlNodePtr> pending{as_node(node_)};
  while (!pending.empty()) {
    xmlNodePtr parent = pending.back();
    pending.pop_back();
    if (parent->type == XML_ENTITY_REF_NODE) continue;  // its nodes belong to the entity
    xmlNodePtr child = parent->children;
    while (child != nullptr) {
      xmlNodePtr next = child->next;
      if (child->type == XML_TEXT_NODE) {
        while (next != nullptr && next->type == XML_TEXT_NODE) {
          xmlNodePtr after = next->next;
          if (next->content != nullptr) xmlNodeAddContent(child, next->content);
          xmlUnlinkNode(next);
          xmlFreeNode(next);
          next = after;
        }
        if (child->content == nullptr || child->content[0] == 0) {
          xmlUnlinkNode(child);
          xmlFreeNode(child);
        }
      } else if (child->type == XML_ELEMENT_NODE) {
        pending.push_back(child);
      }
      child = next;
    }
  }
}

}  // namespace vexqom
