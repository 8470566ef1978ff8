/* The C interface of vexqom_PLUMEK2: create objects by creation name and reach their
 * members by dispatch. Every entry point is exported from libvexqom_PLUMEK2.so and never
 * lets a C++ exception escape. Results are 0 on success, otherwise the raised error's
 * number; vq_error_source and vq_error_description then tell the rest. */
#ifndef VEXQOM_H
#define VEXQOM_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define VQ_EXPORT __attribute__((visibility("default")))

typedef struct vq_object vq_object;             /* opaque, reference counted */

enum { VQ_EMPTY = 0, VQ_NULL = 1, VQ_INTEGER = 2, VQ_LONG = 3, VQ_DOUBLE = 5,
       VQ_CURRENCY = 6, VQ_TEXT = 8, VQ_OBJECT = 9, VQ_BOOLEAN = 11 };

typedef struct vq_value {
    int32_t    kind;      /* one of the VQ_ kinds above                          */
    int64_t    i;         /* INTEGER, LONG; BOOLEAN as 0 or -1; CURRENCY as value x 10000 */
    double     d;         /* DOUBLE                                              */
    char*      text;      /* TEXT: UTF-8, NUL-terminated, owned by the value     */
    size_t     text_len;  /* TEXT: length in bytes, without the NUL              */
    vq_object* obj;       /* OBJECT: one reference owned by the value; NULL = empty reference */
} vq_value;

enum { VQ_METHOD = 1, VQ_GET = 2, VQ_LET = 4, VQ_SET = 8 };   /* invoke flags */

VQ_EXPORT int32_t  vq_create(const char* creation_name, vq_object** out);
VQ_EXPORT uint32_t vq_addref(vq_object* obj);
VQ_EXPORT uint32_t vq_release(vq_object* obj);
VQ_EXPORT int32_t  vq_get_dispid(vq_object* obj, const char* member_name, int32_t* dispid);
VQ_EXPORT int32_t  vq_invoke(vq_object* obj, int32_t dispid, int32_t flags,
                             vq_value* args, size_t nargs, vq_value* result);
VQ_EXPORT void     vq_value_clear(vq_value* value);
VQ_EXPORT int32_t  vq_error_number(void);            /* last error raised to the caller on this thread */
VQ_EXPORT const char* vq_error_source(void);         /* UTF-8, valid until the next call on this thread */
VQ_EXPORT const char* vq_error_description(void);
typedef void (*vq_event_fn)(void* context, vq_object* source, int32_t dispid);
VQ_EXPORT int32_t  vq_advise(vq_object* obj, vq_event_fn fn, void* context, uint32_t* cookie);
VQ_EXPORT int32_t  vq_unadvise(vq_object* obj, uint32_t cookie);
VQ_EXPORT int32_t  vq_enum_next(vq_object* enumerator, vq_value* out);  /* 1: a member, 0: the end */

/* ---- Extension: member description, for dynamic hosts such as script bindings ----
 * accessors: the member's VQ_METHOD / VQ_GET / VQ_LET / VQ_SET flags or'ed together;
 * get_params: the number of parameters (required and optional) of its get, or of its
 * method when it has no get; -1 when it has neither. */
VQ_EXPORT int32_t vq_member_info(vq_object* obj, int32_t dispid, int32_t* accessors,
                                 int32_t* get_params);
/* The object's class name ("ICatItemCol"; "Collection" for what GetDescriptions returns,
 * "enumerator" for what NewEnum returns); NULL for a NULL object. Static text. */
VQ_EXPORT const char* vq_class_name(vq_object* obj);
/* The type library as JSON text (what `vexqom typelib` prints). Static text. */
VQ_EXPORT const char* vq_type_library(void);
/* The library's version, "2.20.0". Static text. */
VQ_EXPORT const char* vq_version(void);

/* ---- In-process server entry points ---- */

typedef struct vq_guid {
    uint32_t data1;
    uint16_t data2;
    uint16_t data3;
    uint8_t  data4[8];
} vq_guid;

/* Records one line per class (creation name, class identifier, library path) in the
 * registry file $XDG_DATA_HOME/vexqom/classes (else ~/.local/share/vexqom/classes). */
VQ_EXPORT int32_t DllRegisterServer(void);
/* Removes this library's lines from the registry file. */
VQ_EXPORT int32_t DllUnregisterServer(void);
/* A class factory for the class identifier: an object whose method "CreateInstance"
 * (dispatch identifier 1) returns a new instance. iid may be NULL or the identifier of
 * the factory's base interfaces. */
VQ_EXPORT int32_t DllGetClassObject(const vq_guid* clsid, const vq_guid* iid, vq_object** out);
/* 0 (yes) when no object of this library is alive, 1 (not now) otherwise. */
VQ_EXPORT int32_t DllCanUnloadNow(void);

#ifdef __cplusplus
}
#endif

#endif /* VEXQOM_H */
