// The DOM parser behind DocumentCreate, DocumentLoad and Prettify: a small interface of
// our own over libxml2, so that the engine never sees libxml2's types.
//
// Parsing is hardened: the network is never used, external entities and DTDs are read
// only when validation is asked (and then only local files), entity expansion is
// bounded by the parser's amplification checks, and nothing is printed to stderr. A
// document past the parser's default size limits (10 MB) is read with them lifted only
// when it declares no document type and nests no deeper than the default depth limit
// allows, so every refusal stays the default reading's.
// White-space-only text nodes are dropped (white-space preservation is off).
//
// All names and texts handed out are UTF-8.
#pragma once

#include <cstdint>
#include <exception>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "vexqom/object.h"

namespace vexqom {

class DomDocument;

// Why a parse failed: the parser's error code, its message (without the trailing line
// break), and where (1-based line and column; 0 when the failure has no position).
struct DomParseError {
  int32_t code = 0;
  std::string reason;
  int32_t line = 0;
  int32_t column = 0;
};

struct DomAttribute {
  std::string name;   // qualified name, "xmlns" / "xmlns:p" for namespace declarations
  std::string value;  // entities resolved
};

// A node of a parsed document. It keeps its document alive; an empty node (no document
// element, no doctype) tests false.
class DomNode {
 public:
  // The DOM's node type numbers.
  enum Type : int32_t { kElement = 1, kAttribute, kText, kCData, kEntityReference, kEntity,
                        kProcessingInstruction, kComment, kDocument, kDocumentType,
                        kDocumentFragment, kNotation };

  DomNode() = default;
  explicit operator bool() const { return node_ != nullptr; }

  int32_t type() const;
  // Qualified element name; "#text", "#comment", "#cdata-section" for the others;
  // the root element's name for the document type.
  std::string name() const;
  // Attributes in document order; namespace declarations come first.
  std::vector<DomAttribute> attributes() const;
  std::vector<DomNode> child_nodes() const;
  // The text content, entities resolved (of all descendants for an element).
  std::string text() const;
  // The node's markup as the parser writes it (the "<!DOCTYPE ...>" line for the
  // document type).
  std::string xml() const;
  // Merges adjacent text nodes and drops empty ones, in the whole subtree.
  void normalize();

 private:
  friend class DomDocument;
  DomNode(Ref<DomDocument> document, void* node) : document_(std::move(document)), node_(node) {}

  Ref<DomDocument> document_;
  void* node_ = nullptr;  // the libxml2 node, owned by document_
};

// What a streaming reading hands on as it reads: each element once its start tag is read
// (name and attributes readable), each other child node once complete (text already as a
// parsed tree keeps it: no text of white space only), and the element's end. The nodes
// are valid only during the call.
class DomVisitor {
 public:
  virtual ~DomVisitor() = default;
  virtual void document_type(const DomNode& doctype) = 0;
  virtual void start_element(const DomNode& element) = 0;
  virtual void child_node(const DomNode& node) = 0;  // text, comment, CDATA, instruction
  virtual void end_element(const DomNode& element) = 0;
};

class DomDocument : public Object {
 public:
  static constexpr const char* kTypeName = "DOMDocument";

  // Parses UTF-8 text; the encoding named by the declaration is ignored, because the
  // bytes are UTF-8 whatever it says. Null on failure, with *error filled.
  static Ref<DomDocument> parse_text(std::string_view utf8, bool validate, DomParseError* error);
  // Reads UTF-8 text as parse_text(utf8, false) does, with the same failures, but keeps
  // no more of it than the element being read and its ancestors: the visitor (may be
  // null: a well-formedness check) sees it go by. A document with a document type is
  // built whole (its entities need the tree) and then walked. False on a parse failure,
  // with *error filled; what the visitor throws stops the reading and lands in
  // *visitor_failure.
  static bool stream_text(std::string_view utf8, DomVisitor* visitor, DomParseError* error,
                          std::exception_ptr* visitor_failure);
  // Parses a local file (its own declaration decides the encoding). A file that cannot
  // be read fails like a parse error, with the I/O error's code and message.
  static Ref<DomDocument> parse_file(const std::string& path, bool validate,
                                     DomParseError* error);

  // A libxml2 node of a document being read, which the reading owns (for its handlers).
  static DomNode node_of(void* node);

  ~DomDocument() override;
  const ClassInfo& class_info() const override;

  DomNode document_element();
  DomNode doctype();  // empty when the document has no document type declaration
  std::string xml();  // the whole document as the parser writes it

 private:
  explicit DomDocument(void* doc) : doc_(doc) {}
  // Shared by both parses: url is the base for relative references, encoding (when not
  // null) overrides detection, options are the parser's.
  static Ref<DomDocument> parse_bytes(std::string_view bytes, const char* url,
                                      const char* encoding, int options, bool validate,
                                      DomParseError* error);

  void* doc_;  // xmlDoc
};

}  // namespace vexqom
