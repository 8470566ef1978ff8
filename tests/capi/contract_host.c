/* A C host that holds the C interface to its contract: results and error numbers of every
 * entry point, the per-thread error texts, argument coercion, optional and by-reference
 * arguments, result kinds, enumerators, default members, events and creation. Exits
 * non-zero on the first mismatch (after reporting every one). */
#include <pthread.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "host_checks.h"
#include "vexqom.h"

enum { MEMBER_NOT_FOUND = -2147352573 };

static vq_value number_value(int32_t kind, int64_t i, double d) {
  vq_value v;
  memset(&v, 0, sizeof v);
  v.kind = kind;
  v.i = i;
  v.d = d;
  return v;
}



static vq_object* create(const char* class_name) {
  char name[128];
  snprintf(name, sizeof name, "vexqom_PLUMEK2.%s", class_name);
  vq_object* obj = NULL;
  CHECK(vq_create(name, &obj) == 0 && obj != NULL);
  return obj;
}

/* Lets one value into a member, then reads it back as the given kind. */
static int32_t let_one(vq_object* obj, const char* member, vq_value value) {
  vq_value result;
  int32_t rc = vq_invoke(obj, dispid_of(obj, member), VQ_LET, &value, 1, &result);
  CHECK(result.kind == VQ_EMPTY);
  vq_value_clear(&value);
  return rc;
}

static vq_value get(vq_object* obj, const char* member) {
  vq_value result;
  CHECK(vq_invoke(obj, dispid_of(obj, member), VQ_GET, NULL, 0, &result) == 0);
  return result;
}

static int text_is(vq_value* v, const char* expected) {
  int ok = v->kind == VQ_TEXT && v->text_len == strlen(expected) &&
           memcmp(v->text, expected, v->text_len) == 0 && v->text[v->text_len] == '\0';
  if (!ok) fprintf(stderr, "  expected '%s', got kind %d '%s'\n", expected, v->kind,
                   v->kind == VQ_TEXT ? v->text : "");
  vq_value_clear(v);
  return ok;
}

static int64_t raw_of(vq_value* v, int32_t kind) {
  int64_t raw = v->kind == kind ? v->i : INT64_MIN;
  if (v->kind != kind) fprintf(stderr, "  expected kind %d, got %d\n", kind, v->kind);
  vq_value_clear(v);
  return raw;
}

/* ---- Coercion of arguments to the parameter types ---- */
static void coercion(void) {
  vq_object* item = create("ICatItem");
  vq_object* price = create("ICatPrice");
  vq_value v;

  /* Numbers to Integer and Long: halves to the even neighbour; out of range is 6. */
  CHECK(let_one(item, "ItemGroup", number_value(VQ_DOUBLE, 0, 2.5)) == 0);
  v = get(item, "ItemGroup");
  CHECK(raw_of(&v, VQ_INTEGER) == 2);
  CHECK(let_one(item, "ItemGroup", number_value(VQ_DOUBLE, 0, 3.5)) == 0);
  v = get(item, "ItemGroup");
  CHECK(raw_of(&v, VQ_INTEGER) == 4);
  CHECK(let_one(item, "ItemGroup", number_value(VQ_CURRENCY, 65000, 0)) == 0); /* 6.5 */
  v = get(item, "ItemGroup");
  CHECK(raw_of(&v, VQ_INTEGER) == 6);
  CHECK(let_one(item, "ItemGroup", number_value(VQ_LONG, 40000, 0)) == 6);
  CHECK(vq_error_number() == 6);
  CHECK(strcmp(vq_error_description(), "Overflow") == 0);
  CHECK(let_one(item, "ItemGroup", number_value(VQ_LONG, 1LL << 40, 0)) == 6);
  CHECK(let_one(item, "ItemGroup", number_value(VQ_INTEGER, 70000, 0)) == 6);
  CHECK(let_one(item, "ItemGroup", text_value(" 12 ")) == 0);
  v = get(item, "ItemGroup");
  CHECK(raw_of(&v, VQ_INTEGER) == 12);
  CHECK(let_one(item, "ItemGroup", number_value(VQ_BOOLEAN, -1, 0)) == 0);
  v = get(item, "ItemGroup");
  CHECK(raw_of(&v, VQ_INTEGER) == -1);
  CHECK(let_one(item, "ItemGroup", text_value("twelve")) == 13);
  CHECK(vq_error_number() == 13);
  CHECK(let_one(item, "ItemType", number_value(VQ_DOUBLE, 0, 1.5)) == 0);
  v = get(item, "ItemType");
  CHECK(raw_of(&v, VQ_LONG) == 2);
  CHECK(let_one(item, "ItemType", number_value(VQ_DOUBLE, 0, 3e9)) == 6);

  /* Numbers to Currency: four places, halves to even; non-numeric text is 13. */
  CHECK(let_one(price, "Cost", number_value(VQ_DOUBLE, 0, 0.00005)) == 0);
  v = get(price, "Cost");
  CHECK(raw_of(&v, VQ_CURRENCY) == 0);
  CHECK(let_one(price, "Cost", number_value(VQ_DOUBLE, 0, 0.00025)) == 0);
  v = get(price, "Cost");
  CHECK(raw_of(&v, VQ_CURRENCY) == 2);
  CHECK(let_one(price, "Cost", number_value(VQ_DOUBLE, 0, -0.00035)) == 0);
  v = get(price, "Cost");
  CHECK(raw_of(&v, VQ_CURRENCY) == -4);
  CHECK(let_one(price, "Cost", text_value("12.34565")) == 0);
  v = get(price, "Cost");
  CHECK(raw_of(&v, VQ_CURRENCY) == 123456);
  CHECK(let_one(price, "Cost", number_value(VQ_LONG, 7, 0)) == 0);
  v = get(price, "Cost");
  CHECK(raw_of(&v, VQ_CURRENCY) == 70000);
  CHECK(let_one(price, "Cost", text_value("3.5 dollars")) == 13);
  CHECK(let_one(price, "Cost", object_value(item)) == 13);
  CHECK(let_one(price, "Cost", number_value(VQ_DOUBLE, 0, 1e300)) == 6);
  v = get(price, "Cost");
  CHECK(raw_of(&v, VQ_CURRENCY) == 70000); /* a refused value leaves the field */

  /* Numbers and Booleans to Text by the standard text forms. */
  CHECK(let_one(price, "Rank", number_value(VQ_CURRENCY, 8000, 0)) == 0);
  v = get(price, "Rank");
  CHECK(text_is(&v, "0.8"));
  CHECK(let_one(price, "Rank", number_value(VQ_CURRENCY, -5000, 0)) == 0);
  v = get(price, "Rank");
  CHECK(text_is(&v, "-0.5"));
  CHECK(let_one(price, "Rank", number_value(VQ_CURRENCY, 70000, 0)) == 0);
  v = get(price, "Rank");
  CHECK(text_is(&v, "7"));
  CHECK(let_one(price, "Rank", number_value(VQ_CURRENCY, 12345, 0)) == 0);
  v = get(price, "Rank");
  CHECK(text_is(&v, "1.2345"));
  CHECK(let_one(price, "Rank", number_value(VQ_DOUBLE, 0, 0.1)) == 0);
  v = get(price, "Rank");
  CHECK(text_is(&v, "0.1"));
  CHECK(let_one(price, "Rank", number_value(VQ_DOUBLE, 0, 1e20)) == 0);
  v = get(price, "Rank");
  CHECK(text_is(&v, "1E+20"));
  CHECK(let_one(price, "Rank", number_value(VQ_BOOLEAN, -1, 0)) == 0);
  v = get(price, "Rank");
  CHECK(text_is(&v, "True"));
  CHECK(let_one(price, "Rank", number_value(VQ_BOOLEAN, 0, 0)) == 0);
  v = get(price, "Rank");
  CHECK(text_is(&v, "False"));
  CHECK(let_one(price, "Rank", number_value(VQ_LONG, -42, 0)) == 0);
  v = get(price, "Rank");
  CHECK(text_is(&v, "-42"));
  CHECK(let_one(price, "Rank", object_value(item)) == 13);

  /* Text to Boolean; Variant parameters keep the kind they were given. */
  CHECK(let_one(price, "UrgentFlag", text_value("True")) == 0);
  v = get(price, "UrgentFlag");
  CHECK(raw_of(&v, VQ_BOOLEAN) == -1);
  CHECK(let_one(price, "UrgentFlag", text_value("maybe")) == 13);
  CHECK(let_one(price, "Available", number_value(VQ_CURRENCY, 25000, 0)) == 0);
  v = get(price, "Available");
  CHECK(raw_of(&v, VQ_CURRENCY) == 25000);
  CHECK(let_one(price, "Available", number_value(VQ_NULL, 0, 0)) == 0);
  v = get(price, "Available");
  CHECK(v.kind == VQ_NULL);
  vq_value_clear(&v);

  /* An unknown value kind is refused. */
  CHECK(let_one(price, "Rank", number_value(77, 0, 0)) == 13);
  vq_release(price);
  vq_release(item);
}

/* ---- Accessor flags, optional parameters, let value last, results ---- */
static void calls(void) {
  vq_object* item = create("ICatItem");
  vq_value result, args[3];

  /* METHOD|GET answers a get and a method; a let on a read-only member is not found. */
  CHECK(vq_invoke(item, dispid_of(item, "ItemGroup"), VQ_METHOD | VQ_GET, NULL, 0,
                  &result) == 0 && result.kind == VQ_INTEGER);
  vq_value_clear(&result);
  CHECK(vq_invoke(item, dispid_of(item, "UniqueKey"), VQ_METHOD | VQ_GET, NULL, 0,
                  &result) == 0 && result.kind == VQ_TEXT);
  vq_value_clear(&result);
  args[0] = text_value("x");
  CHECK(vq_invoke(item, dispid_of(item, "UniqueKey"), VQ_LET, args, 1, &result) ==
        MEMBER_NOT_FOUND);
  CHECK(result.kind == VQ_EMPTY);
  vq_value_clear(&args[0]);

  /* QuantityToOrder: location optional on get and let; the value is the last argument. */
  args[0] = number_value(VQ_LONG, 3, 0);
  CHECK(vq_invoke(item, dispid_of(item, "QuantityToOrder"), VQ_LET, args, 1, &result) == 0);
  CHECK(result.kind == VQ_EMPTY);
  args[0] = text_value("LOCAL");
  args[1] = number_value(VQ_LONG, 5, 0);
  CHECK(vq_invoke(item, dispid_of(item, "QuantityToOrder"), VQ_LET, args, 2, &result) == 0);
  vq_value_clear(&args[0]);
  args[0] = text_value("LOCAL");
  CHECK(vq_invoke(item, dispid_of(item, "QuantityToOrder"), VQ_GET, args, 1, &result) == 0);
  CHECK(result.kind == VQ_DOUBLE && result.d == 5.0); /* the number of the stored value */
  CHECK(args[0].kind == VQ_TEXT && strcmp(args[0].text, "LOCAL") == 0);
  vq_value_clear(&result);
  vq_value_clear(&args[0]);
  CHECK(vq_invoke(item, dispid_of(item, "QuantityToOrder"), VQ_GET, NULL, 0, &result) == 0);
  CHECK(result.kind == VQ_DOUBLE && result.d == 3.0);
  vq_value_clear(&result);

  /* Texts go in and come out as UTF-8, byte for byte; the caller's argument stays as it was. */
  const char* plug = "Z\xC3\xBCndkerze \xE2\x82\xAC 4,10 \xF0\x9F\x94\xA7";
  args[0] = text_value(plug);
  CHECK(vq_invoke(item, dispid_of(item, "Description"), VQ_LET, args, 1, &result) == 0);
  CHECK(args[0].kind == VQ_TEXT && args[0].text_len == strlen(plug) &&
        strcmp(args[0].text, plug) == 0);
  vq_value_clear(&args[0]);
  result = get(item, "Description");
  CHECK(text_is(&result, plug));

  /* Too many arguments, a let without its value, a required parameter left out. */
  args[0] = text_value("A");
  args[1] = text_value("B");
  args[2] = text_value("C");
  CHECK(vq_invoke(item, dispid_of(item, "QuantityToOrder"), VQ_LET, args, 3, &result) != 0);
  CHECK(vq_invoke(item, dispid_of(item, "Description"), VQ_LET, args, 0, &result) != 0);
  for (int i = 0; i < 3; ++i) vq_value_clear(&args[i]);
  vq_object* col = create("ICatItemCol");
  CHECK(vq_invoke(col, dispid_of(col, "GetItemGroup"), VQ_METHOD, NULL, 0, &result) != 0);

  /* Methods without result give VQ_EMPTY; optional Boolean left out. */
  CHECK(vq_invoke(item, dispid_of(item, "Clear"), VQ_METHOD, NULL, 0, &result) == 0);
  CHECK(result.kind == VQ_EMPTY);
  CHECK(vq_invoke(item, dispid_of(item, "FlaggedToOrder"), VQ_METHOD, NULL, 0, &result) == 0);
  CHECK(result.kind == VQ_BOOLEAN && result.i == 0);

  /* An empty reference is VQ_OBJECT with obj NULL; set takes one, and an object. */
  args[0] = number_value(VQ_LONG, 99, 0);
  CHECK(vq_invoke(col, 0, VQ_METHOD | VQ_GET, args, 1, &result) == 0);
  CHECK(result.kind == VQ_OBJECT && result.obj == NULL);
  vq_value_clear(&result);
  vq_object* vehicle = create("ICatVehicle");
  args[0] = object_value(vehicle);
  CHECK(vq_invoke(col, dispid_of(col, "Vehicle"), VQ_SET, args, 1, &result) == 0);
  CHECK(result.kind == VQ_EMPTY);
  vq_value_clear(&args[0]);
  result = get(col, "Vehicle");
  CHECK(result.kind == VQ_OBJECT && result.obj == vehicle);
  vq_value_clear(&result);
  args[0] = object_value(NULL);
  CHECK(vq_invoke(col, dispid_of(col, "Vehicle"), VQ_SET, args, 1, &result) == 0);
  result = get(col, "Vehicle");
  CHECK(result.kind == VQ_OBJECT && result.obj == NULL);
  vq_value_clear(&result);
  args[0] = object_value(item); /* an item is no vehicle */
  CHECK(vq_invoke(col, dispid_of(col, "Vehicle"), VQ_SET, args, 1, &result) == 13);
  vq_value_clear(&args[0]);

  /* Default members: Item of the collections, Heading of a list entry. */
  vq_object* list = create("ICatList");
  args[0] = text_value("Brakes");
  CHECK(vq_invoke(list, 0, VQ_LET, args, 1, &result) == 0);
  vq_value_clear(&args[0]);
  result = get(list, "Heading");
  CHECK(text_is(&result, "Brakes"));
  CHECK(vq_invoke(list, 0, VQ_GET, NULL, 0, &result) == 0);
  CHECK(text_is(&result, "Brakes"));
  CHECK(vq_invoke(vehicle, 0, VQ_GET, NULL, 0, &result) == MEMBER_NOT_FOUND);

  vq_release(list);
  vq_release(vehicle);
  vq_release(col);
  vq_release(item);
}

/* ---- By-reference write-back ---- */
static void by_reference(void) {
  vq_object* col = create("ICatItemCol");
  vq_object* item = create("ICatItem");
  vq_value result, args[2];
  args[0] = object_value(item);
  args[1] = text_value("ACD012345");
  CHECK(vq_invoke(col, dispid_of(col, "Add"), VQ_METHOD, args, 2, &result) == 0);
  vq_value_clear(&result);
  vq_value_clear(&args[0]);
  vq_value_clear(&args[1]);

  /* Item cleans the key through ItemExists: the caller's text is replaced. */
  args[0] = text_value("ACD\t012345");
  char* before = args[0].text;
  CHECK(vq_invoke(col, 0, VQ_GET, args, 1, &result) == 0);
  CHECK(result.kind == VQ_OBJECT && result.obj == item);
  CHECK(args[0].kind == VQ_TEXT && args[0].text_len == 9 && strcmp(args[0].text, "ACD012345") == 0);
  (void)before;
  vq_value_clear(&result);
  vq_value_clear(&args[0]);

  /* An unchanged by-reference argument keeps its very text (no reallocation). */
  args[0] = text_value("ACD012345");
  char* same = args[0].text;
  CHECK(vq_invoke(col, dispid_of(col, "ItemExists"), VQ_METHOD, args, 1, &result) == 0);
  CHECK(result.kind == VQ_BOOLEAN && result.i == -1);
  CHECK(args[0].text == same);
  vq_value_clear(&args[0]);

  /* A by-reference argument coerced to its parameter type is not written back. */
  vq_object* vehicle = create("ICatVehicle");
  args[0] = number_value(VQ_LONG, 120500, 0);
  CHECK(vq_invoke(vehicle, dispid_of(vehicle, "CurrentMileage"), VQ_LET, args, 1, &result) == 0);
  CHECK(args[0].kind == VQ_LONG && args[0].i == 120500);
  result = get(vehicle, "CurrentMileage");
  CHECK(text_is(&result, "120500"));

  /* A position is not cleaned; Remove cleans a text key too. */
  args[0] = number_value(VQ_DOUBLE, 1.0, 1.0);
  CHECK(vq_invoke(col, dispid_of(col, "ItemExists"), VQ_METHOD, args, 1, &result) == 0);
  CHECK(result.kind == VQ_BOOLEAN && result.i == -1 && args[0].kind == VQ_DOUBLE);
  args[0] = text_value("\tACD012345\t");
  CHECK(vq_invoke(col, dispid_of(col, "Remove"), VQ_METHOD, args, 1, &result) == 0);
  CHECK(result.kind == VQ_EMPTY);
  CHECK(args[0].kind == VQ_TEXT && strcmp(args[0].text, "ACD012345") == 0);
  vq_value_clear(&args[0]);
  result = get(col, "Count");
  CHECK(raw_of(&result, VQ_LONG) == 0);

  vq_release(vehicle);
  vq_release(item);
  vq_release(col);
}

/* ---- Enumerators and GetDescriptions ---- */
static void enumerations(void) {
  vq_object* col = create("ICatItemCol");
  vq_value arg = text_value(
      "<Items><Count>3</Count><Collection>"
      "<Item><LineCode>A</LineCode><ItemNumber>1</ItemNumber><Description>Oil</Description></Item>"
      "<Item><LineCode>B</LineCode><ItemNumber>2</ItemNumber><Description>Filter</Description></Item>"
      "<Item><LineCode>C</LineCode><ItemNumber>3</ItemNumber><Description>OIL</Description></Item>"
      "</Collection></Items>");
  vq_value result;
  CHECK(vq_invoke(col, dispid_of(col, "XML"), VQ_LET, &arg, 1, &result) == 0);
  vq_value_clear(&arg);

  CHECK(vq_invoke(col, dispid_of(col, "GetDescriptions"), VQ_METHOD, NULL, 0, &result) == 0);
  CHECK(result.kind == VQ_OBJECT && result.obj != NULL);
  vq_object* descriptions = result.obj;
  if (descriptions == NULL) return;
  int32_t count_id = dispid_of(descriptions, "Count");
  CHECK(vq_invoke(descriptions, count_id, VQ_GET, NULL, 0, &result) == 0);
  CHECK(raw_of(&result, VQ_LONG) == 2);
  CHECK(vq_invoke(descriptions, count_id, VQ_METHOD | VQ_GET, NULL, 0, &result) == 0);
  CHECK(raw_of(&result, VQ_LONG) == 2);
  CHECK(dispid_of(descriptions, "item") == 0);
  arg = text_value("FILTER");
  CHECK(vq_invoke(descriptions, 0, VQ_METHOD | VQ_GET, &arg, 1, &result) == 0);
  CHECK(text_is(&result, "Filter"));
  vq_value_clear(&arg);
  arg = number_value(VQ_LONG, 1, 0);
  CHECK(vq_invoke(descriptions, 0, VQ_GET, &arg, 1, &result) == 0);
  CHECK(text_is(&result, "Oil"));
  arg = number_value(VQ_LONG, 3, 0);
  CHECK(vq_invoke(descriptions, 0, VQ_GET, &arg, 1, &result) == 9);
  arg = text_value("Brake");
  CHECK(vq_invoke(descriptions, 0, VQ_GET, &arg, 1, &result) == 5);
  vq_value_clear(&arg);

  static const char* expected[] = {"Oil", "Filter"};
  int32_t enum_id = 0;
  CHECK(vq_get_dispid(descriptions, "_NewEnum", &enum_id) == 0 && enum_id == -4);
  CHECK(vq_invoke(descriptions, -4, VQ_METHOD | VQ_GET, NULL, 0, &result) == 0);
  CHECK(result.kind == VQ_OBJECT && result.obj != NULL);
  vq_object* walker = result.obj;
  vq_value member;
  int seen = 0;
  while (walker && vq_enum_next(walker, &member) == 1) {
    if (seen < 2) CHECK(text_is(&member, expected[seen]));
    else vq_value_clear(&member);
    ++seen;
  }
  CHECK(seen == 2);
  CHECK(walker == NULL || (vq_enum_next(walker, &member) == 0 && member.kind == VQ_EMPTY));
  vq_value_clear(&result);
  vq_release(descriptions);

  /* The collections' own enumerators, by -4 with either flag. */
  CHECK(vq_invoke(col, -4, VQ_GET, NULL, 0, &result) == 0 && result.kind == VQ_OBJECT);
  walker = result.obj;
  seen = 0;
  while (walker && vq_enum_next(walker, &member) == 1) {
    CHECK(member.kind == VQ_OBJECT && member.obj != NULL);
    ++seen;
    vq_value_clear(&member);
  }
  CHECK(seen == 3);
  vq_value_clear(&result);
  /* vq_enum_next on what is not an enumerator fails with a number, not 1 or 0. */
  int32_t rc = vq_enum_next(col, &member);
  CHECK(rc != 0 && rc != 1);
  CHECK(vq_enum_next(NULL, &member) == 91);
  vq_release(col);
}

/* ---- Events ---- */
struct sink {
  int calls;
  vq_object* expected_source;
  int right_source;
  int32_t last_dispid;
};

static void on_event(void* context, vq_object* source, int32_t dispid) {
  struct sink* s = context;
  ++s->calls;
  s->last_dispid = dispid;
  if (source == s->expected_source) ++s->right_source;
  /* The borrowed source may be used during the call. */
  int32_t id = 0;
  if (vq_get_dispid(source, "Count", &id) != 0) s->right_source = -1000;
}

static void events(void) {
  vq_object* col = create("ICatItemCol");
  struct sink a = {0, col, 0, 0}, b = {0, col, 0, 0};
  uint32_t ca = 0, cb = 0;
  CHECK(vq_advise(col, on_event, &a, &ca) == 0);
  CHECK(vq_advise(col, on_event, &b, &cb) == 0);
  CHECK(ca != cb);
  vq_object* item = create("ICatItem");
  vq_value args[2] = {object_value(item), text_value("K1")}, result;
  CHECK(vq_invoke(col, dispid_of(col, "Add"), VQ_METHOD, args, 2, &result) == 0);
  vq_value_clear(&result);
  CHECK(a.calls == 1 && b.calls == 1 && a.right_source == 1 && a.last_dispid == 1);
  CHECK(vq_unadvise(col, ca) == 0);
  CHECK(vq_unadvise(col, ca) != 0);
  vq_value_clear(&args[1]);
  args[1] = text_value("K2");
  CHECK(vq_invoke(col, dispid_of(col, "Add"), VQ_METHOD, args, 2, &result) == 0);
  vq_value_clear(&result);
  CHECK(a.calls == 1 && b.calls == 2);
  vq_value_clear(&args[0]);
  vq_value_clear(&args[1]);

  /* Objects without events refuse a connection; NULL objects give 91. */
  uint32_t cookie = 0;
  CHECK(vq_advise(item, on_event, &a, &cookie) != 0);
  CHECK(vq_advise(NULL, on_event, &a, &cookie) == 91);
  CHECK(vq_unadvise(NULL, 1) == 91);
  CHECK(vq_unadvise(col, cb) == 0);
  vq_release(item);
  CHECK(vq_release(col) == 0);
}

/* A sink that, on its first call, unadvises another sink and frees that sink's context and
 * advises a fresh one; on its second, drops the host's only reference to the source. */
struct rude_sink {
  int calls;
  uint32_t victim;
  int* victim_context;
  struct sink* fresh;
};

static void count_call(void* context, vq_object* source, int32_t dispid) {
  (void)source;
  (void)dispid;
  ++*(int*)context;
}

static void on_rude_event(void* context, vq_object* source, int32_t dispid) {
  (void)dispid;
  struct rude_sink* r = context;
  uint32_t cookie = 0;
  if (++r->calls == 1) {
    CHECK(vq_unadvise(source, r->victim) == 0);
    free(r->victim_context); /* calling the victim now would touch freed memory */
    CHECK(vq_advise(source, on_event, r->fresh, &cookie) == 0);
  } else if (r->calls == 2) {
    vq_release(source);
  }
}

static void events_changed_during_delivery(void) {
  vq_object* col = create("ICatItemCol");
  struct sink fresh = {0, col, 0, 0};
  struct rude_sink rude = {0, 0, malloc(sizeof(int)), &fresh};
  uint32_t cookie = 0;
  CHECK(vq_advise(col, on_rude_event, &rude, &cookie) == 0);
  CHECK(vq_advise(col, count_call, rude.victim_context, &rude.victim) == 0);
  vq_object* item = create("ICatItem");
  vq_value args[2] = {object_value(item), text_value("K1")}, result;
  CHECK(vq_invoke(col, dispid_of(col, "Add"), VQ_METHOD, args, 2, &result) == 0);
  vq_value_clear(&result);
  CHECK(rude.calls == 1 && fresh.calls == 0); /* advised during delivery: not this event */
  vq_value_clear(&args[1]);
  args[1] = text_value("K2");
  /* The source outlives the call that drops the host's reference to it. */
  CHECK(vq_invoke(col, dispid_of(col, "Add"), VQ_METHOD, args, 2, &result) == 0);
  vq_value_clear(&result);
  CHECK(rude.calls == 2 && fresh.calls == 1 && fresh.right_source == 1);
  vq_value_clear(&args[0]);
  vq_value_clear(&args[1]);
  vq_release(item);
  CHECK(DllCanUnloadNow() == 0);
}

/* ---- Error texts per thread ---- */
static void* fail_on_other_thread(void* unused) {
  (void)unused;
  int32_t* seen = malloc(2 * sizeof *seen);
  seen[0] = vq_error_number(); /* a new thread starts with no error */
  vq_value result;
  seen[1] = vq_invoke(NULL, 0, VQ_GET, NULL, 0, &result);
  return seen;
}

/* One failing call per entry point that returns an error number. */
static vq_object* g_price;
static int32_t create_unknown(void) {
  vq_object* obj = NULL;
  return vq_create("vexqom_PLUMEK2.NoSuchClass", &obj);
}
static int32_t dispid_of_null(void) {
  int32_t id = 0;
  return vq_get_dispid(NULL, "Cost", &id);
}
static int32_t invoke_unknown(void) {
  vq_value result;
  return vq_invoke(g_price, 12345, VQ_GET, NULL, 0, &result);
}
static int32_t advise_without_events(void) {
  uint32_t cookie = 0;
  return vq_advise(g_price, on_event, NULL, &cookie);
}
static int32_t unadvise_null(void) { return vq_unadvise(NULL, 1); }
static int32_t enum_next_null(void) {
  vq_value out;
  return vq_enum_next(NULL, &out);
}
static int32_t member_info_unknown(void) {
  int32_t accessors = 0, params = 0;
  return vq_member_info(g_price, 12345, &accessors, &params);
}
static int32_t class_object_unknown(void) {
  const vq_guid nothing = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
  vq_object* factory = NULL;
  return DllGetClassObject(&nothing, NULL, &factory);
}
/* A registry folder under a plain file cannot be made. */
static int32_t register_unwritable(void) { return DllRegisterServer(); }
static int32_t unregister_unwritable(void) { return DllUnregisterServer(); }

static void every_entry_point_records_its_failure(void) {
  static int32_t (*const failing[])(void) = {
      create_unknown,       dispid_of_null,      invoke_unknown,
      advise_without_events, unadvise_null,      enum_next_null,
      member_info_unknown,  class_object_unknown, register_unwritable,
      unregister_unwritable};
  g_price = create("ICatPrice");
  const char* saved = getenv("XDG_DATA_HOME");
  char* kept = saved ? strdup(saved) : NULL;
  setenv("XDG_DATA_HOME", "/dev/null/vexqom", 1);
  for (size_t i = 0; i < sizeof failing / sizeof failing[0]; ++i) {
    /* Each starts from another error, so a failure left unrecorded shows. */
    CHECK(let_one(g_price, "Cost", text_value("abc")) == 13);
    int32_t rc = failing[i]();
    if (rc == 0 || rc == 13 || vq_error_number() != rc ||
        strcmp(vq_error_source(), "vexqom_PLUMEK2") != 0 || vq_error_description()[0] == 0 ||
        strcmp(vq_error_description(), "Type mismatch") == 0) {
      fprintf(stderr, "entry point %zu: returned %d, recorded %d %s: %s\n", i, (int)rc,
              (int)vq_error_number(), vq_error_source(), vq_error_description());
      ++failures;
    }
  }
  if (kept) {
    setenv("XDG_DATA_HOME", kept, 1);
    free(kept);
  } else {
    unsetenv("XDG_DATA_HOME");
  }
  vq_release(g_price);
}

static void errors(void) {
  vq_object* price = create("ICatPrice");
  CHECK(let_one(price, "Cost", text_value("abc")) == 13);
  CHECK(vq_error_number() == 13);
  CHECK(strcmp(vq_error_source(), "vexqom_PLUMEK2") == 0);
  CHECK(strcmp(vq_error_description(), "Type mismatch") == 0);
  /* The last error raised stays until the next one: a success does not touch it. */
  CHECK(let_one(price, "Cost", text_value("1.5")) == 0);
  CHECK(vq_error_number() == 13);
  CHECK(strcmp(vq_error_description(), "Type mismatch") == 0);

  /* Another thread has its own error state. */
  pthread_t thread;
  void* seen = NULL;
  CHECK(pthread_create(&thread, NULL, fail_on_other_thread, NULL) == 0);
  pthread_join(thread, &seen);
  CHECK(seen != NULL && ((int32_t*)seen)[0] == 0 && ((int32_t*)seen)[1] == 91);
  free(seen);
  CHECK(vq_error_number() == 13);

  /* A failure inside a procedure keeps its composed description. */
  vq_value arg = text_value("<Price><Cost>1</Cost>");
  vq_value result;
  int32_t rc = vq_invoke(price, dispid_of(price, "XML"), VQ_LET, &arg, 1, &result);
  vq_value_clear(&arg);
  if (rc != 0) {
    CHECK(vq_error_number() == rc);
    CHECK(strncmp(vq_error_description(), "ICatPrice | ", 12) == 0);
  }

  /* Entry points that fail report a number, the NULL object 91, unknown members. */
  int32_t id = 0;
  CHECK(vq_get_dispid(NULL, "Cost", &id) == 91);
  CHECK(vq_error_number() == 91);
  CHECK(strcmp(vq_error_description(), "Object variable or With block variable not set") == 0);
  CHECK(vq_get_dispid(price, "Costs", &id) == MEMBER_NOT_FOUND);
  CHECK(vq_error_number() == MEMBER_NOT_FOUND);
  CHECK(vq_invoke(price, 0x68030063, VQ_GET, NULL, 0, &result) == MEMBER_NOT_FOUND);
  CHECK(result.kind == VQ_EMPTY);
  CHECK(vq_invoke(price, -4, VQ_GET, NULL, 0, &result) == MEMBER_NOT_FOUND);
  CHECK(vq_invoke(NULL, 0, VQ_GET, NULL, 0, &result) == 91 && result.kind == VQ_EMPTY);
  CHECK(vq_get_dispid(price, "cOsT", &id) == 0 && id == 0x68030003);
  CHECK(vq_addref(NULL) == 0 && vq_release(NULL) == 0);
  vq_value_clear(NULL);
  vq_release(price);
}

/* ---- Creation by every name ---- */
static void creation(void) {
  static const char* classes[] = {"ICatItemCol", "ICatItem", "ICatPriceCol",
                                  "ICatPrice", "ICatVehicle", "ICatPresetCol",
                                  "ICatPreset", "ICatListCol", "ICatList"};
  for (int i = 0; i < 9; ++i) {
    vq_object* obj = create(classes[i]);
    int32_t id = 0;
    if (obj) CHECK(vq_get_dispid(obj, "XML", &id) == 0);
    vq_value result;
    if (obj) CHECK(vq_invoke(obj, id, VQ_GET, NULL, 0, &result) == 0 && result.kind == VQ_TEXT);
    vq_value_clear(&result);
    CHECK(vq_release(obj) == 0);
  }
  vq_object* obj = (vq_object*)1;
  CHECK(vq_create("vexqom_PLUMEK2.clsXML", &obj) == -2147221164 && obj == NULL);
  CHECK(vq_create("vexqom_PLUMEK2.CString", &obj) == -2147221164);
  CHECK(vq_create("ICatItem", &obj) == -2147221164);
  CHECK(vq_create(NULL, &obj) != 0);
  CHECK(vq_create("vexqom_plumek2.icatitem", &obj) == 0 && obj != NULL);
  vq_release(obj);

  /* By class identifier: as text through vq_create, and through the class objects,
   * which answer the factory interface and its bases only. */
  static const vq_guid unknown = {0, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
  static const vq_guid dispatch = {0x00020400, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
  static const vq_guid factory_iid = {1, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
  static const vq_guid earlier_item_iid = {0x3F0C7B12, 0x8E2A, 0x4D6B,
                                           {0xB4, 0x05, 0x19, 0x6A, 0x70, 0x2E, 0x5C, 0x32}};
  const vq_guid* accepted[] = {NULL, &unknown, &dispatch, &factory_iid};
  for (int i = 0; i < 9; ++i) {
    vq_guid clsid = {0x6B1E2A41u + (uint32_t)i, 0x3C5D, 0x4F21,
                     {0x9A, 0x1B, 0x52, 0x7E, 0x0C, 0x44, 0xD1, (uint8_t)(0x11 + i)}};
    char text[40];
    snprintf(text, sizeof text, "{%08X-3C5D-4F21-9A1B-527E0C44D1%02X}", clsid.data1, 0x11 + i);
    obj = NULL;
    CHECK(vq_create(text, &obj) == 0 && obj != NULL);
    int32_t id = 0;
    /* Each identifier makes the class of the same position in the type library. */
    static const char* own_member[] = {"ItemsTotalCost", "UniqueKey", "Clear", "Margin",
                                       "VIN", "AddObject", "Category", "AddObject", "ID"};
    if (obj) CHECK(vq_get_dispid(obj, own_member[i], &id) == 0);
    vq_release(obj);
    for (int k = 0; k < 4; ++k) {
      vq_object* factory = NULL;
      CHECK(DllGetClassObject(&clsid, accepted[k], &factory) == 0 && factory != NULL);
      vq_value made;
      CHECK(vq_invoke(factory, 1, VQ_METHOD, NULL, 0, &made) == 0 && made.kind == VQ_OBJECT &&
            made.obj != NULL);
      if (made.obj) CHECK(vq_get_dispid(made.obj, own_member[i], &id) == 0);
      vq_value_clear(&made);
      vq_release(factory);
    }
    vq_object* factory = (vq_object*)1;
    CHECK(DllGetClassObject(&clsid, &earlier_item_iid, &factory) == -2147467262 &&
          factory == NULL);
  }
  obj = NULL;
  CHECK(vq_create("{3F0C7B12-8E2A-4D6B-B405-196A702E5C32}", &obj) == -2147221164 && obj == NULL);
  CHECK(DllCanUnloadNow() == 0);
}

/* ---- Registration in the registry file ---- */
static void registration(void) {
  char folder[] = "/tmp/vexqom_contract_XXXXXX";
  if (mkdtemp(folder) == NULL) {
    CHECK(!"mkdtemp");
    return;
  }
  char registry[256];
  snprintf(registry, sizeof registry, "%s/vexqom/classes", folder);
  setenv("XDG_DATA_HOME", folder, 1);
  CHECK(DllRegisterServer() == 0);
  static const char* classes[] = {"ICatItemCol", "ICatItem", "ICatPriceCol",
                                  "ICatPrice", "ICatVehicle", "ICatPresetCol",
                                  "ICatPreset", "ICatListCol", "ICatList"};
  FILE* file = fopen(registry, "r");
  CHECK(file != NULL);
  char line[1024];
  int n = 0;
  while (file && fgets(line, sizeof line, file)) {
    char expected[128];
    if (n < 9) {
      snprintf(expected, sizeof expected, "vexqom_PLUMEK2.%s\t{%08X-3C5D-4F21-9A1B-527E0C44D1%02X}\t/",
               classes[n], 0x6B1E2A41u + (unsigned)n, 0x11 + n);
      CHECK(strncmp(line, expected, strlen(expected)) == 0);
      CHECK(strstr(line, "/libvexqom_PLUMEK2.so.2\n") != NULL); /* the file the loader found */
    }
    ++n;
  }
  if (file) fclose(file);
  CHECK(n == 9);
  CHECK(DllUnregisterServer() == 0);
  file = fopen(registry, "r");
  CHECK(file != NULL && fgets(line, sizeof line, file) == NULL);
  if (file) fclose(file);
  unlink(registry);
  snprintf(registry, sizeof registry, "%s/vexqom", folder);
  rmdir(registry);
  rmdir(folder);
  unsetenv("XDG_DATA_HOME");
}

int main(void) {
  registration();
  coercion();
  calls();
  by_reference();
  enumerations();
  events();
  events_changed_during_delivery();
  every_entry_point_records_its_failure();
  errors();
  creation();
  if (failures == 0) printf("contract_host: all checks passed\n");
  return failures == 0 ? 0 : 1;
}
