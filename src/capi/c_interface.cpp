// The exported C entry points: each converts its arguments, calls the dispatch layer and
// turns any failure into a number plus this thread's last-error texts.
#include <cstdlib>
#include <string>
#include <vector>

#include "capi/c_errors.h"
#include "capi/c_values.h"
#include "frame/class_info.h"
#include "frame/invoke_changes.h"
#include "vexqom/Enumerator.h"
#include "vexqom.h"
#include "vexqom/dispatch.h"
#include "vexqom/error.h"
#include "vexqom/events.h"
#include "vexqom/typelib.h"

namespace vexqom::capi {
namespace {

struct LastError {
  int32_t number = 0;
  std::string source;
  std::string description;
};
thread_local LastError t_last_error;

int32_t record_failure(const Error& e) noexcept {
  try {
    t_last_error.number = e.number();
    t_last_error.source = to_utf8(e.source());
    t_last_error.description = to_utf8(e.description());
  } catch (...) {
    t_last_error.number = e.number();
    t_last_error.source.clear();
    t_last_error.description.clear();
  }
  return e.number();
}

Object& require(vq_object* handle) {
  if (handle == nullptr) throw Error(errc::kObjectNotSet);
  return *from_handle(handle);
}

void write_back(const Variant& value, vq_value* slot) {
  vq_value fresh;
  fill_value(value, &fresh);
  vq_value_clear(slot);  // the caller's old text was malloc'ed: it is freed here
  *slot = fresh;
}

}  // namespace

// The one place where C++ failures become C results.
int32_t record_current_failure() noexcept {
  try {
    return record_failure(current_error());
  } catch (...) {
    return record_failure(Error(errc::kOutOfMemory));
  }
}

}  // namespace vexqom::capi

using namespace vexqom;
using namespace vexqom::capi;

extern "C" {

int32_t vq_create(const char* creation_name, vq_object** out) {
  return guarded([&] {
    if (out == nullptr) throw Error(errc::kInvalidArgument);
    *out = nullptr;
    if (creation_name == nullptr) throw Error(errc::kClassNotRegistered);
    // The registry knows each class by its identifier as well ("{6B1E2A45-...}").
    Guid clsid;
    *out = to_handle((Guid::parse(creation_name, &clsid) ? create_object(clsid)
                                                         : create_object(creation_name))
                         .detach());
  });
}

uint32_t vq_addref(vq_object* obj) {
  return obj == nullptr ? 0 : from_handle(obj)->add_ref();
}

uint32_t vq_release(vq_object* obj) {
  return obj == nullptr ? 0 : from_handle(obj)->release();
}

int32_t vq_get_dispid(vq_object* obj, const char* member_name, int32_t* dispid) {
  return guarded([&] {
    Object& object = require(obj);
    if (member_name == nullptr || dispid == nullptr) throw Error(errc::kInvalidArgument);
    *dispid = get_ids_of_names(object, member_name);
  });
}

int32_t vq_invoke(vq_object* obj, int32_t dispid, int32_t flags, vq_value* args, size_t nargs,
                  vq_value* result) {
  if (result != nullptr) *result = vq_value{};
  return guarded([&] {
    Object& object = require(obj);
    if (nargs > 0 && args == nullptr) throw Error(errc::kInvalidArgument);
    std::vector<Variant> values;
    values.reserve(nargs);
    for (size_t i = 0; i < nargs; ++i) values.push_back(to_variant(args[i]));
    std::vector<char> changed;
    Variant answer = invoke_reporting_changes(object, dispid, flags, values, changed);
    for (size_t i = 0; i < nargs; ++i) {
      if (changed[i]) write_back(values[i], &args[i]);
    }
    if (result != nullptr) fill_value(answer, result);
  });
}

void vq_value_clear(vq_value* value) {
  if (value == nullptr) return;
  if (value->kind == VQ_TEXT) std::free(value->text);
  if (value->kind == VQ_OBJECT && value->obj != nullptr) from_handle(value->obj)->release();
  *value = vq_value{};
}

int32_t vq_error_number(void) { return t_last_error.number; }
const char* vq_error_source(void) { return t_last_error.source.c_str(); }
const char* vq_error_description(void) { return t_last_error.description.c_str(); }

int32_t vq_advise(vq_object* obj, vq_event_fn fn, void* context, uint32_t* cookie) {
  return guarded([&] {
    Object& object = require(obj);
    if (fn == nullptr || cookie == nullptr) throw Error(errc::kInvalidArgument);
    EventConnections* connections = object.event_connections();
    if (connections == nullptr) throw Error(errc::kNoInterface);
    *cookie = connections->advise([fn, context](Object& source, int32_t id) {
      fn(context, to_handle(&source), id);
    });
  });
}

int32_t vq_unadvise(vq_object* obj, uint32_t cookie) {
  return guarded([&] {
    Object& object = require(obj);
    EventConnections* connections = object.event_connections();
    if (connections == nullptr) throw Error(errc::kNoInterface);
    connections->unadvise(cookie);
  });
}

int32_t vq_member_info(vq_object* obj, int32_t dispid, int32_t* accessors, int32_t* get_params) {
  return guarded([&] {
    Object& object = require(obj);
    if (accessors == nullptr || get_params == nullptr) throw Error(errc::kInvalidArgument);
    const MemberSpec* member = object.class_info().find(dispid);
    if (member == nullptr) throw Error(errc::kMemberNotFound);
    *accessors = 0;
    for (const AccessorSpec& a : member->accessors) *accessors |= static_cast<int32_t>(a.kind);
    const AccessorSpec* reader = member->accessor(Access::Get);
    if (reader == nullptr) reader = member->accessor(Access::Method);
    *get_params = reader == nullptr ? -1 : static_cast<int32_t>(reader->params.size());
  });
}

const char* vq_class_name(vq_object* obj) {
  return obj == nullptr ? nullptr : from_handle(obj)->class_info().name.c_str();
}

const char* vq_type_library(void) {
  try {
    static const std::string text = type_library_json();
    return text.c_str();
  } catch (...) {
    return "";  // no memory for it: an empty text rather than an exception across C
  }
}

int32_t vq_enum_next(vq_object* enumerator, vq_value* out) {
  if (out != nullptr) *out = vq_value{};  // empty on every way out, as vq_invoke's result
  bool more = false;
  int32_t failure = guarded([&] {
    Object& object = require(enumerator);
    if (out == nullptr) throw Error(errc::kInvalidArgument);
    auto* walker = dynamic_cast<Enumerator*>(&object);
    if (walker == nullptr) throw Error(errc::kTypeMismatch);
    Variant member;
    more = walker->Next(&member);
    if (more) fill_value(member, out);
  });
  return failure != 0 ? failure : (more ? 1 : 0);
}

}  // extern "C"
