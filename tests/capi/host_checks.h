/* The C host test's helpers: a check that counts failures instead of stopping, the values
   it passes, and calls by member name. The program returns `failures != 0`. */
#ifndef VEXQOM_TESTS_HOST_CHECKS_H
#define VEXQOM_TESTS_HOST_CHECKS_H

#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "vexqom.h"

static int failures = 0;
#define CHECK(cond)                                                            \
  do {                                                                         \
    if (!(cond)) {                                                             \
      fprintf(stderr, "%s:%d: check failed: %s\n", __FILE__, __LINE__, #cond); \
      ++failures;                                                              \
    }                                                                          \
  } while (0)

static inline vq_value number_value(int32_t kind, int64_t i, double d) {
  vq_value v;
  memset(&v, 0, sizeof v);
  v.kind = kind;
  v.i = i;
  v.d = d;
  return v;
}

/* A Text value holding a malloc'ed copy of s, as a by-reference argument must be. */
static inline vq_value text_value(const char* s) {
  vq_value v = number_value(VQ_TEXT, 0, 0);
  v.text_len = strlen(s);
  v.text = malloc(v.text_len + 1);
  memcpy(v.text, s, v.text_len + 1);
  return v;
}

/* An object value holding its own reference to obj (none for NULL). */
static inline vq_value object_value(vq_object* obj) {
  vq_value v = number_value(VQ_OBJECT, 0, 0);
  v.obj = obj;
  if (obj) vq_addref(obj);
  return v;
}

static inline vq_object* create(const char* class_name) {
  char name[128];
  snprintf(name, sizeof name, "vexqom_PLUMEK2.%s", class_name);
  vq_object* obj = NULL;
  CHECK(vq_create(name, &obj) == 0 && obj != NULL);
  return obj;
}

static inline int32_t dispid_of(vq_object* obj, const char* name) {
  int32_t id = 0;
  CHECK(vq_get_dispid(obj, name, &id) == 0);
  return id;
}

/* Calls a member by name; the result goes to *result, or is cleared when result is NULL.
   The arguments stay the caller's. Returns the error number. */
static inline int32_t call(vq_object* obj, const char* member, int32_t flags, vq_value* args,
                           size_t nargs, vq_value* result) {
  vq_value ignored;
  int32_t rc =
      vq_invoke(obj, dispid_of(obj, member), flags, args, nargs, result ? result : &ignored);
  if (!result) vq_value_clear(&ignored);
  return rc;
}

/* Whether v is the Text expected; clears v. */
static inline int text_is(vq_value* v, const char* expected) {
  int ok = v->kind == VQ_TEXT && v->text_len == strlen(expected) &&
           memcmp(v->text, expected, v->text_len) == 0 && v->text[v->text_len] == '\0';
  if (!ok)
    fprintf(stderr, "  expected '%s', got kind %d '%s'\n", expected, (int)v->kind,
            v->kind == VQ_TEXT ? v->text : "");
  vq_value_clear(v);
  return ok;
}

/* The integer of v when it has the kind expected, else INT64_MIN; clears v. */
static inline int64_t raw_of(vq_value* v, int32_t kind) {
  int64_t raw = v->kind == kind ? v->i : INT64_MIN;
  if (v->kind != kind) fprintf(stderr, "  expected kind %d, got %d\n", (int)kind, (int)v->kind);
  vq_value_clear(v);
  return raw;
}

#endif
