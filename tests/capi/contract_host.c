/* A C host that holds the C interface to its contract: value kinds both ways, optional and
 * by-reference arguments, result kinds, enumerators, events, the stored sample selection
 * (named on the command line), the error of every entry point and of every thread, class
 * objects and registration. Exits non-zero after reporting every mismatch. */
#include <pthread.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host_checks.h"
#include "vexqom.h"

enum { MEMBER_NOT_FOUND = -2147352573 };

/* Lets one value into a member (clearing it afterwards); returns the error number. */
static int32_t let_one(vq_object* obj, const char* member, vq_value value) {
  vq_value result;
  int32_t rc = call(obj, member, VQ_LET, &value, 1, &result);
  CHECK(result.kind == VQ_EMPTY);
  vq_value_clear(&value);
  return rc;
}

/* ---- Every value kind in, coerced to the parameter, and read back as the result kind ---- */
struct let_case {
  const char* member; /* of a price; a Variant parameter (Available) keeps the kind given */
  int32_t kind, rc;   /* VQ_OBJECT passes the price itself */
  int64_t i;
  double d;
  const char* text;
  int32_t read_kind;
  int64_t raw;
  const char* read_text;
};

static const struct let_case kLets[] = {
    {"Cost", VQ_CURRENCY, 0, 65000, 0, 0, VQ_CURRENCY, 65000, 0},
    {"Cost", VQ_DOUBLE, 0, 0, -0.00035, 0, VQ_CURRENCY, -4, 0}, /* halves to even */
    {"Cost", VQ_TEXT, 0, 0, 0, "12.34565", VQ_CURRENCY, 123456, 0},
    {"Cost", VQ_OBJECT, 13, 0, 0, 0, 0, 0, 0},
    {"Cost", VQ_DOUBLE, 6, 0, 1e300, 0, VQ_CURRENCY, 123456, 0}, /* refused: the field stays */
    {"Cost", 77, 13, 0, 0, 0, 0, 0, 0},                           /* an unknown value kind */
    {"Rank", VQ_BOOLEAN, 0, -1, 0, 0, VQ_TEXT, 0, "True"},
    {"Rank", VQ_CURRENCY, 0, -5000, 0, 0, VQ_TEXT, 0, "-0.5"},
    {"UrgentFlag", VQ_TEXT, 13, 0, 0, "maybe", 0, 0, 0},
    {"UrgentFlag", VQ_TEXT, 0, 0, 0, "True", VQ_BOOLEAN, -1, 0},
    {"Available", VQ_INTEGER, 0, -7, 0, 0, VQ_INTEGER, -7, 0},
    {"Available", VQ_INTEGER, 6, 70000, 0, 0, 0, 0, 0},
    {"Available", VQ_LONG, 6, 1LL << 40, 0, 0, 0, 0, 0},
    {"Available", VQ_DOUBLE, 0, 0, 2.5, 0, VQ_DOUBLE, 0, 0},
    {"Available", VQ_NULL, 0, 0, 0, 0, VQ_NULL, 0, 0},
    /* Texts go in and come out as UTF-8, byte for byte, NUL-terminated. */
    {"Tag", VQ_TEXT, 0, 0, 0, "Z\xC3\xBCndkerze \xE2\x82\xAC \xF0\x9F\x94\xA7", VQ_TEXT, 0,
     "Z\xC3\xBCndkerze \xE2\x82\xAC \xF0\x9F\x94\xA7"}};

static void values(void) {
  vq_object* price = create("ICatPrice");
  for (size_t n = 0; n < sizeof kLets / sizeof kLets[0]; ++n) {
    const struct let_case* c = &kLets[n];
    vq_value arg = c->kind == VQ_TEXT     ? text_value(c->text)
                   : c->kind == VQ_OBJECT ? object_value(price)
                                          : number_value(c->kind, c->i, c->d);
    int32_t rc = let_one(price, c->member, arg);
    int ok = rc == c->rc && (rc == 0 || vq_error_number() == rc);
    vq_value v;
    if (c->read_kind != 0 && call(price, c->member, VQ_GET, NULL, 0, &v) == 0) {
      ok = ok && v.kind == c->read_kind && (c->read_kind != VQ_DOUBLE || v.d == 2.5);
      if (c->read_kind == VQ_TEXT) ok = ok && text_is(&v, c->read_text);
      if (c->read_kind != VQ_TEXT) ok = ok && raw_of(&v, v.kind) == c->raw;
    }
    if (!ok) {
      fprintf(stderr, "let row %zu (%s): returned %d\n", n, c->member, (int)rc);
      ++failures;
    }
  }
  vq_release(price);
}

/* ---- Accessor flags, optional and by-reference parameters, results ---- */
static void calls(void) {
  vq_object* item = create("ICatItem");
  vq_object* col = create("ICatItemCol");
  vq_object* vehicle = create("ICatVehicle");
  vq_value result, args[3];
  /* METHOD|GET answers a get and a method; a let on a read-only member is not found. */
  CHECK(call(item, "ItemGroup", VQ_METHOD | VQ_GET, NULL, 0, &result) == 0);
  CHECK(raw_of(&result, VQ_INTEGER) == 0);
  CHECK(call(item, "FlaggedToOrder", VQ_METHOD | VQ_GET, NULL, 0, &result) == 0); /* optional */
  CHECK(raw_of(&result, VQ_BOOLEAN) == 0);
  CHECK(let_one(item, "UniqueKey", text_value("x")) == MEMBER_NOT_FOUND);
  /* QuantityToOrder: location optional on get and let; the value is the last argument. */
  CHECK(let_one(item, "QuantityToOrder", number_value(VQ_LONG, 3, 0)) == 0);
  args[0] = text_value("LOCAL");
  args[1] = number_value(VQ_LONG, 5, 0);
  CHECK(call(item, "QuantityToOrder", VQ_LET, args, 2, NULL) == 0);
  CHECK(call(item, "QuantityToOrder", VQ_GET, args, 1, &result) == 0 && result.d == 5.0);
  CHECK(call(item, "QuantityToOrder", VQ_GET, NULL, 0, &result) == 0 && result.d == 3.0);
  /* Too many arguments, a let without its value, a required parameter left out. */
  args[1] = text_value("B");
  args[2] = text_value("C");
  CHECK(call(item, "QuantityToOrder", VQ_LET, args, 3, NULL) == -2147352562);
  CHECK(call(item, "Description", VQ_LET, args, 0, NULL) == -2147352561);
  CHECK(call(col, "GetItemGroup", VQ_METHOD, NULL, 0, NULL) == -2147352561);
  CHECK(text_is(&args[0], "LOCAL")); /* arguments stay the caller's */
  vq_value_clear(&args[1]);
  vq_value_clear(&args[2]);
  /* An empty reference is VQ_OBJECT with obj NULL; set takes one, and an object. */
  args[0] = number_value(VQ_LONG, 99, 0);
  CHECK(vq_invoke(col, 0, VQ_METHOD | VQ_GET, args, 1, &result) == 0);
  CHECK(result.kind == VQ_OBJECT && result.obj == NULL);
  const vq_value sets[] = {object_value(vehicle), object_value(NULL), object_value(item)};
  const int32_t set_rc[] = {0, 0, 13}; /* an item is no vehicle */
  vq_object* const read_back[] = {vehicle, NULL, NULL};
  for (int i = 0; i < 3; ++i) {
    args[0] = sets[i];
    CHECK(call(col, "Vehicle", VQ_SET, args, 1, &result) == set_rc[i] && result.kind == VQ_EMPTY);
    vq_value_clear(&args[0]);
    CHECK(call(col, "Vehicle", VQ_GET, NULL, 0, &result) == 0 && result.obj == read_back[i]);
    vq_value_clear(&result);
  }
  CHECK(vq_invoke(vehicle, 0, VQ_GET, NULL, 0, &result) == MEMBER_NOT_FOUND); /* no default */
  /* By reference: Item (the default member) and Remove clean the caller's key through
   * ItemExists and write it back; an unchanged key keeps its very text; a position, or an
   * argument coerced to Text, is not written back. */
  args[0] = object_value(item);
  args[1] = text_value("ACD012345");
  CHECK(call(col, "Add", VQ_METHOD, args, 2, NULL) == 0);
  vq_value_clear(&args[0]);
  args[0] = text_value("ACD\t012345");
  CHECK(vq_invoke(col, 0, VQ_GET, args, 1, &result) == 0 && result.obj == item);
  vq_value_clear(&result);
  CHECK(text_is(&args[0], "ACD012345"));
  char* same = args[1].text;
  CHECK(call(col, "ItemExists", VQ_METHOD, &args[1], 1, &result) == 0 && result.i == -1);
  CHECK(args[1].text == same);
  vq_value_clear(&args[1]);
  args[0] = number_value(VQ_LONG, 120500, 0);
  CHECK(call(vehicle, "CurrentMileage", VQ_LET, args, 1, NULL) == 0 && args[0].kind == VQ_LONG);
  args[0] = number_value(VQ_DOUBLE, 1.0, 1.0);
  CHECK(call(col, "ItemExists", VQ_METHOD, args, 1, &result) == 0 && result.i == -1 &&
        args[0].kind == VQ_DOUBLE);
  args[0] = text_value("\tACD012345\t");
  CHECK(call(col, "Remove", VQ_METHOD, args, 1, &result) == 0 && result.kind == VQ_EMPTY);
  CHECK(text_is(&args[0], "ACD012345"));
  CHECK(call(col, "Count", VQ_GET, NULL, 0, &result) == 0 && raw_of(&result, VQ_LONG) == 0);
  vq_release(vehicle);
  vq_release(col);
  vq_release(item);
}

/* ---- Events; enumerators and GetDescriptions ---- */
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
  int32_t id = 0; /* the borrowed source may be used during the call */
  if (vq_get_dispid(source, "Count", &id) != 0) s->right_source = -1000;
}

/* Adds a new item with a description under key; events follow. */
static void add_item(vq_object* col, const char* key, const char* description) {
  vq_object* item = create("ICatItem");
  CHECK(let_one(item, "Description", text_value(description)) == 0);
  vq_value args[2] = {object_value(item), text_value(key)};
  CHECK(call(col, "Add", VQ_METHOD, args, 2, NULL) == 0);
  vq_value_clear(&args[0]);
  vq_value_clear(&args[1]);
  vq_release(item);
}

static void events_and_enumerators(void) {
  vq_object* col = create("ICatItemCol");
  struct sink a = {0, col, 0, 0}, b = {0, col, 0, 0};
  uint32_t ca = 0, cb = 0;
  CHECK(vq_advise(col, on_event, &a, &ca) == 0);
  CHECK(vq_advise(col, on_event, &b, &cb) == 0 && ca != cb);
  add_item(col, "K1", "Oil");
  CHECK(a.calls == 1 && b.calls == 1 && a.right_source == 1 && a.last_dispid == 1);
  CHECK(vq_unadvise(col, ca) == 0 && vq_unadvise(col, ca) != 0);
  add_item(col, "K2", "Filter");
  add_item(col, "K3", "OIL");
  CHECK(a.calls == 1 && b.calls == 3 && vq_unadvise(col, cb) == 0);

  /* Item, the default member, by caseless key and by position; absent ones give 5 and 9. */
  vq_value result, member;
  CHECK(call(col, "GetDescriptions", VQ_METHOD, NULL, 0, &result) == 0 && result.obj != NULL);
  vq_object* found = result.obj;
  const vq_value keys[] = {text_value("FILTER"), number_value(VQ_LONG, 1, 0),
                           number_value(VQ_LONG, 3, 0), text_value("Brake")};
  const int32_t rc[] = {0, 0, 9, 5};
  for (int i = 0; i < 4; ++i) {
    vq_value key = keys[i];
    CHECK(found && vq_invoke(found, 0, VQ_METHOD | VQ_GET, &key, 1, &result) == rc[i]);
    CHECK(rc[i] != 0 || text_is(&result, i == 0 ? "Filter" : "Oil"));
    vq_value_clear(&key);
  }
  /* The enumerators, by -4 with either flag: descriptions as Text, items as objects. */
  vq_object* sources[] = {found, col};
  static const char* texts[] = {"Oil", "Filter"};
  for (int s = 0; s < 2; ++s) {
    CHECK(vq_invoke(sources[s], -4, s ? VQ_GET : VQ_METHOD | VQ_GET, NULL, 0, &result) == 0);
    int seen = 0;
    while (result.obj && vq_enum_next(result.obj, &member) == 1) {
      CHECK(s ? member.obj != NULL : seen < 2 && text_is(&member, texts[seen]));
      vq_value_clear(&member);
      ++seen;
    }
    CHECK(seen == 2 + s && vq_enum_next(result.obj, &member) == 0 && member.kind == VQ_EMPTY);
    vq_value_clear(&result);
  }
  vq_release(found);
  int32_t not_enum = vq_enum_next(col, &member); /* a number, not 1 or 0 */
  CHECK(not_enum != 0 && not_enum != 1);
  CHECK(vq_release(col) == 0);
}

/* ---- The stored sample selection: a vehicle composes its description; the sample loads
 * with one event per item, gives its totals as Currency and its members by position, and
 * refuses a key already present ---- */
static void selection(const char* sample) {
  static char text[1 << 16];
  FILE* file = fopen(sample, "rb");
  size_t size = file ? fread(text, 1, sizeof text - 1, file) : 0;
  text[size] = '\0';
  if (file) fclose(file);
  static const char* fields[] = {"Year", "Make", "Model", "Engine", "VIN"};
  static const char* values[] = {"2001", "Ford", "Caf\xc3\xa9", "3.0L V6", "1FAFP53U51A123456"};
  vq_object* vehicle = create("ICatVehicle");
  vq_value result;
  for (int i = 0; i < 5; ++i) CHECK(let_one(vehicle, fields[i], text_value(values[i])) == 0);
  CHECK(call(vehicle, "description", VQ_GET, NULL, 0, &result) == 0);
  CHECK(text_is(&result, "2001 Ford Caf\xc3\xa9 3.0L V6"));
  CHECK(DllCanUnloadNow() == 1 && vq_release(vehicle) == 0 && DllCanUnloadNow() == 0);

  vq_object* col = create("ICatItemCol");
  struct sink events = {0, col, 0, 0};
  uint32_t cookie = 0;
  CHECK(size > 0 && vq_advise(col, on_event, &events, &cookie) == 0);
  CHECK(let_one(col, "XML", text_value(text)) == 0 && events.calls == 5);
  /* Count is a Long; the totals Currency, in ten-thousandths. */
  static const char* totals[] = {"Count", "ItemsTotalCount", "ItemsTotalCost",
                                 "ItemsSelectedCount", "ItemsSelectedCost"};
  static const int64_t expected[] = {5, 100000, 648700, 90000, 266700};
  for (int i = 0; i < 5; ++i)
    CHECK(call(col, totals[i], i < 3 ? VQ_GET : VQ_METHOD, NULL, 0, &result) == 0 &&
          raw_of(&result, i ? VQ_CURRENCY : VQ_LONG) == expected[i]);
  vq_value key = number_value(VQ_LONG, 1, 0);
  CHECK(vq_invoke(col, 0, VQ_GET, &key, 1, &result) == 0 && result.obj != NULL);
  CHECK(result.obj && call(result.obj, "UniqueKey", VQ_METHOD, NULL, 0, &key) == 0 &&
        text_is(&key, "NLN41-962"));
  vq_value_clear(&result);
  vq_object* item = create("ICatItem");
  vq_value add[2] = {object_value(item), text_value("nln41-962")}; /* a key already present */
  CHECK(call(col, "Add", VQ_METHOD, add, 2, &result) == 0 && result.kind == VQ_OBJECT &&
        result.obj == NULL && events.calls == 5);
  vq_value_clear(&add[0]);
  vq_value_clear(&add[1]);
  vq_release(item);
  CHECK(vq_unadvise(col, cookie) == 0 && vq_release(col) == 0 && DllCanUnloadNow() == 0);
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
  add_item(col, "K1", "a");
  CHECK(rude.calls == 1 && fresh.calls == 0); /* advised during delivery: not this event */
  /* The source outlives the call that drops the host's reference to it. */
  add_item(col, "K2", "b");
  CHECK(rude.calls == 2 && fresh.calls == 1 && fresh.right_source == 1);
  CHECK(DllCanUnloadNow() == 0);
}

/* ---- Error texts: per thread, per entry point ---- */
static void* fail_on_other_thread(void* unused) {
  (void)unused;
  int32_t* seen = malloc(2 * sizeof *seen);
  seen[0] = vq_error_number(); /* a new thread starts with no error */
  vq_value result;
  seen[1] = vq_invoke(NULL, 0, VQ_GET, NULL, 0, &result);
  return seen;
}

/* One failing call per entry point that returns an error number; the registry folder
 * (under a plain file) cannot be made. */
enum { ENTRY_POINTS = 10 };
static int32_t fail_entry_point(int which, vq_object* price) {
  vq_object* obj = NULL;
  int32_t id = 0, params = 0;
  uint32_t cookie = 0;
  vq_value out;
  const vq_guid nothing = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
  switch (which) {
    case 0: return vq_create("vexqom_PLUMEK2.NoSuchClass", &obj);
    case 1: return vq_get_dispid(NULL, "Cost", &id);
    case 2: return vq_invoke(price, 12345, VQ_GET, NULL, 0, &out);
    case 3: return vq_advise(price, on_event, NULL, &cookie);
    case 4: return vq_unadvise(NULL, 1);
    case 5: return vq_enum_next(NULL, &out);
    case 6: return vq_member_info(price, 12345, &id, &params);
    case 7: return DllGetClassObject(&nothing, NULL, &obj);
    case 8: return DllRegisterServer();
    default: return DllUnregisterServer();
  }
}

static void errors(void) {
  vq_object* price = create("ICatPrice");
  setenv("XDG_DATA_HOME", "/dev/null/vexqom", 1);
  for (int i = 0; i < ENTRY_POINTS; ++i) {
    /* Each starts from another error, so a failure left unrecorded shows. */
    CHECK(let_one(price, "Cost", text_value("abc")) == 13);
    int32_t rc = fail_entry_point(i, price);
    if (rc == 0 || rc == 13 || vq_error_number() != rc ||
        strcmp(vq_error_source(), "vexqom_PLUMEK2") != 0 || vq_error_description()[0] == 0 ||
        strcmp(vq_error_description(), "Type mismatch") == 0) {
      fprintf(stderr, "entry point %d: returned %d, recorded %d %s: %s\n", i, (int)rc,
              (int)vq_error_number(), vq_error_source(), vq_error_description());
      ++failures;
    }
  }
  unsetenv("XDG_DATA_HOME");
  /* The last error raised stays until the next one, and belongs to its thread. */
  CHECK(let_one(price, "Cost", text_value("abc")) == 13);
  CHECK(let_one(price, "Cost", text_value("1.5")) == 0);
  pthread_t thread;
  void* seen = NULL;
  CHECK(pthread_create(&thread, NULL, fail_on_other_thread, NULL) == 0);
  pthread_join(thread, &seen);
  CHECK(seen != NULL && ((int32_t*)seen)[0] == 0 && ((int32_t*)seen)[1] == 91);
  free(seen);
  CHECK(vq_error_number() == 13 && strcmp(vq_error_description(), "Type mismatch") == 0);
  /* A failure inside a procedure keeps its composed description; NULL objects are 91. */
  CHECK(let_one(price, "XML", text_value("<Price><Cost>1E30</Cost></Price>")) == 6);
  CHECK(strncmp(vq_error_description(), "ICatPrice | Let XML, Error # 6 at line: ", 40) == 0);
  vq_value result;
  CHECK(vq_invoke(NULL, 0, VQ_GET, NULL, 0, &result) == 91 && result.kind == VQ_EMPTY);
  CHECK(strcmp(vq_error_description(), "Object variable or With block variable not set") == 0);
  CHECK(vq_addref(NULL) == 0 && vq_release(NULL) == 0);
  vq_value_clear(NULL);
  vq_release(price);
}

/* ---- Class objects, refused creations, registration in the registry file ---- */
static void creation_and_registration(void) {
  /* Each identifier makes the class of the same position in the type library; its class
   * object answers the factory interface and its bases only. */
  static const char* own_member[] = {"ItemsTotalCost", "UniqueKey", "Clear", "Margin", "VIN",
                                     "AddObject", "Category", "AddObject", "ID"};
  static const vq_guid iids[] = {{0, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}},
                                 {0x00020400, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}},
                                 {1, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}},
                                 {0x3F0C7B12, 0x8E2A, 0x4D6B, /* an earlier item interface */
                                  {0xB4, 0x05, 0x19, 0x6A, 0x70, 0x2E, 0x5C, 0x32}}};
  vq_object *obj = NULL, *factory = NULL;
  int32_t id = 0;
  for (int i = 0; i < 9; ++i) {
    vq_guid clsid = {0x6B1E2A41u + (uint32_t)i, 0x3C5D, 0x4F21,
                     {0x9A, 0x1B, 0x52, 0x7E, 0x0C, 0x44, 0xD1, (uint8_t)(0x11 + i)}};
    for (int k = -1; k < 4; ++k) {
      int32_t rc = DllGetClassObject(&clsid, k < 0 ? NULL : &iids[k], &factory);
      CHECK(k == 3 ? rc == -2147467262 && factory == NULL : rc == 0 && factory != NULL);
      vq_value made;
      if (k == 3 || !factory) continue;
      CHECK(vq_invoke(factory, 1, VQ_METHOD, NULL, 0, &made) == 0 && made.obj != NULL);
      CHECK(made.obj && vq_get_dispid(made.obj, own_member[i], &id) == 0);
      vq_value_clear(&made);
      vq_release(factory);
    }
  }
  static const char* refused[] = {"vexqom_PLUMEK2.clsXML", "vexqom_PLUMEK2.CString", "ICatItem",
                                  "{3F0C7B12-8E2A-4D6B-B405-196A702E5C32}", NULL};
  for (int i = 0; i < 5; ++i) {
    obj = (vq_object*)1;
    int32_t rc = vq_create(refused[i], &obj);
    CHECK(rc != 0 && (i == 4 || rc == -2147221164) && obj == NULL);
  }
  CHECK(DllCanUnloadNow() == 0);

  /* Registration keeps other libraries' lines and one line per class, however often. */
  static const char* kClasses[] = {"ICatItemCol",   "ICatItem",   "ICatPriceCol",
                                   "ICatPrice",     "ICatVehicle", "ICatPresetCol",
                                   "ICatPreset",    "ICatListCol", "ICatList"};
  const char* other = "other.Thing\t{X}\t/lib/other.so\n";
  char folder[] = "/tmp/vexqom_contract_XXXXXX", registry[256], line[1024], expected[128];
  CHECK(mkdtemp(folder) != NULL);
  snprintf(registry, sizeof registry, "%s/vexqom", folder);
  mkdir(registry, 0700);
  strcat(registry, "/classes");
  FILE* file = fopen(registry, "w");
  fputs(other, file);
  fclose(file);
  setenv("XDG_DATA_HOME", folder, 1);
  for (int pass = 0; pass < 2; ++pass) {
    CHECK(pass ? DllUnregisterServer() == 0 : DllRegisterServer() == 0 && DllRegisterServer() == 0);
    file = fopen(registry, "r");
    for (int n = 0; n < (pass ? 2 : 11); ++n) {
      const char* got = file ? fgets(line, sizeof line, file) : NULL;
      const int c = (n + 8) % 9;
      snprintf(expected, sizeof expected, "vexqom_PLUMEK2.%s\t{%08X-3C5D-4F21-9A1B-527E0C44D1%02X}\t/",
               kClasses[c], 0x6B1E2A41u + (unsigned)c, 0x11 + c);
      /* Each class by the versioned file the loader found, after the other library's line. */
      CHECK(n == 0 ? got && strcmp(line, other) == 0
                   : n == (pass ? 1 : 10) ? got == NULL
                                          : got && strncmp(line, expected, strlen(expected)) == 0 &&
                                                strstr(line, "/libvexqom_PLUMEK2.so.2\n") != NULL);
    }
    if (file) fclose(file);
  }
  unlink(registry);
  *strrchr(registry, '/') = '\0';
  rmdir(registry);
  rmdir(folder);
  unsetenv("XDG_DATA_HOME");
}

int main(int argc, char** argv) {
  if (argc < 2) {
    fprintf(stderr, "usage: contract_host SAMPLE.xml\n");
    return 2;
  }
  creation_and_registration();
  values();
  calls();
  events_and_enumerators();
  selection(argv[1]);
  events_changed_during_delivery();
  errors();
  if (failures == 0) printf("contract_host: all checks passed\n");
  return failures == 0 ? 0 : 1;
}
