/* A small host: loads a stored selection, orders ten more of its first part at the
 * JOBBER location and writes the selection back.
 *
 *   host SELECTION.xml OUT.xml
 *
 * Everything goes through the C interface: create by name, look members up by name,
 * invoke them, read the failure of the last call. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "vexqom.h"

static vq_value text_arg(const char* s) {
  vq_value v = {0};
  v.kind = VQ_TEXT;
  v.text = (char*)s; /* arguments stay owned by the caller */
  v.text_len = strlen(s);
  return v;
}

static vq_value long_arg(int64_t n) {
  vq_value v = {0};
  v.kind = VQ_LONG;
  v.i = n;
  return v;
}

/* A quantity comes back as whatever Variant the price holds: a number or a text. */
static int64_t whole_number(const vq_value* v) {
  switch (v->kind) {
    case VQ_DOUBLE: return (int64_t)v->d;
    case VQ_CURRENCY: return v->i / 10000;
    case VQ_TEXT: return atoll(v->text);
    case VQ_INTEGER: case VQ_LONG: return v->i;
    default: return 0;
  }
}

/* Calls a member by name; prints the library's message and returns its number on failure. */
static int32_t call(vq_object* obj, const char* member, int32_t flags, vq_value* args,
                    size_t nargs, vq_value* result) {
  int32_t dispid = 0;
  int32_t rc = vq_get_dispid(obj, member, &dispid);
  if (rc == 0) rc = vq_invoke(obj, dispid, flags, args, nargs, result);
  if (rc != 0) fprintf(stderr, "%s: error %d: %s\n", member, rc, vq_error_description());
  return rc;
}

static char* read_file(const char* path) {
  FILE* f = fopen(path, "rb");
  if (!f) return NULL;
  fseek(f, 0, SEEK_END);
  long size = ftell(f);
  rewind(f);
  char* text = malloc((size_t)size + 1);
  size_t got = fread(text, 1, (size_t)size, f);
  text[got] = '\0';
  fclose(f);
  return text;
}

int main(int argc, char** argv) {
  if (argc != 3) {
    fprintf(stderr, "usage: host SELECTION.xml OUT.xml\n");
    return 2;
  }
  char* xml = read_file(argv[1]);
  if (!xml) {
    fprintf(stderr, "cannot read %s\n", argv[1]);
    return 1;
  }

  vq_object* selection = NULL;
  vq_value result = {0};
  int32_t rc = vq_create("vexqom_PLUMEK2.ICatItemCol", &selection);
  if (rc == 0) {
    vq_value arg = text_arg(xml);
    rc = call(selection, "XML", VQ_LET, &arg, 1, &result);
    vq_value_clear(&result);
  }

  /* Item(1), then QuantityToOrder("JOBBER") = 10 + what was there. */
  vq_object* item = NULL;
  if (rc == 0) {
    vq_value position = long_arg(1);
    rc = call(selection, "Item", VQ_METHOD | VQ_GET, &position, 1, &result);
    if (rc == 0) item = result.obj, result.obj = NULL;
    vq_value_clear(&result);
  }
  if (rc == 0) {
    vq_value location = text_arg("JOBBER");
    rc = call(item, "QuantityToOrder", VQ_GET, &location, 1, &result);
    int64_t quantity = whole_number(&result);
    vq_value_clear(&result);
    vq_value args[2] = {text_arg("JOBBER"), long_arg(quantity + 10)};
    if (rc == 0) rc = call(item, "QuantityToOrder", VQ_LET, args, 2, &result);
    vq_value_clear(&result);
    if (rc == 0) printf("JOBBER quantity: %lld -> %lld\n", (long long)quantity,
                        (long long)quantity + 10);
  }

  if (rc == 0) rc = call(selection, "XML", VQ_GET, NULL, 0, &result);
  if (rc == 0) {
    FILE* out = fopen(argv[2], "wb");
    if (!out || fwrite(result.text, 1, result.text_len, out) != result.text_len) {
      fprintf(stderr, "cannot write %s\n", argv[2]);
      rc = 1;
    }
    if (out) fclose(out);
  }
  vq_value_clear(&result);
  if (item) vq_release(item);
  if (selection) vq_release(selection);
  free(xml);
  return rc == 0 ? 0 : 1;
}
