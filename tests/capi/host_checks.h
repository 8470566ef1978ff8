/* What the C host test programs share: a check that counts failures instead of stopping,
   and the values and lookups every host needs. Each program returns `failures != 0`. */
#ifndef VEXQOM_TESTS_HOST_CHECKS_H
#define VEXQOM_TESTS_HOST_CHECKS_H

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "vexqom.h"

static int failures = 0;
#define CHECK(cond)                                                              \
  do {                                                                           \
    if (!(cond)) {                                                               \
      fprintf(stderr, "%s:%d: check failed: %s\n", __FILE__, __LINE__, #cond);   \
      ++failures;                                                                \
    }                                                                            \
  } while (0)

/* A Text value holding a copy of s; the callee takes it over. */
static inline vq_value text_value(const char* s) {
  vq_value v;
  memset(&v, 0, sizeof v);
  v.kind = VQ_TEXT;
  v.text_len = strlen(s);
  v.text = malloc(v.text_len + 1);
  memcpy(v.text, s, v.text_len + 1);
  return v;
}

/* An object value holding its own reference to obj (none for NULL). */
static inline vq_value object_value(vq_object* obj) {
  vq_value v;
  memset(&v, 0, sizeof v);
  v.kind = VQ_OBJECT;
  v.obj = obj;
  if (obj) vq_addref(obj);
  return v;
}

static inline int32_t dispid_of(vq_object* obj, const char* name) {
  int32_t id = 0;
  CHECK(vq_get_dispid(obj, name, &id) == 0);
  return id;
}

#endif
