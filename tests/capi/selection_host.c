/* A C host: loads a stored selection, reads its totals, walks its items, counts the
 * CountChanged events and cleans a key through ItemExists. Exits non-zero on the first
 * mismatch. */
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "host_checks.h"
#include "vexqom.h"

static const char* kSelection =
    "<Items><XDocVersion>v2.20</XDocVersion><Count>3</Count><Collection>"
    "<Item><ItemStatus>ORDER</ItemStatus><LineCode>ACD</LineCode><ItemNumber>012345</ItemNumber>"
    "<Description>Spark Plug</Description><ItemGroup>3</ItemGroup>"
    "<Prices><Count>1</Count><Collection><Price><Location>JOBBER</Location>"
    "<QuantityToOrder>2</QuantityToOrder><Cost>3.5</Cost></Price></Collection></Prices></Item>"
    "<Item><ItemType>1</ItemType><ItemStatus>ORDER</ItemStatus>"
    "<Description>Replace plugs</Description><Prices></Prices>"
    "<LaborOperation>R&amp;R</LaborOperation><LaborHRSnormal>1.2</LaborHRSnormal></Item>"
    "<Item><ItemStatus>back order</ItemStatus><LineCode>FRA</LineCode><ItemNumber>PH8A</ItemNumber>"
    "<Description>Oil Filter</Description><ItemGroup>7</ItemGroup>"
    "<Prices><Count>1</Count><Collection><Price><Location>JOBBER</Location>"
    "<QuantityToOrder>1</QuantityToOrder><Cost>10</Cost></Price></Collection></Prices></Item>"
    "</Collection><Vehicle><Year>2001</Year><Make>Ford</Make><Model>Taurus</Model></Vehicle>"
    "</Items>";

/* A Currency member read as value x 10000; -1 on failure. */
static int64_t currency_of(vq_object* obj, const char* member, int32_t flags) {
  vq_value result;
  int64_t raw = -1;
  if (vq_invoke(obj, dispid_of(obj, member), flags, NULL, 0, &result) == 0 &&
      result.kind == VQ_CURRENCY)
    raw = result.i;
  vq_value_clear(&result);
  return raw;
}

static int text_member_is(vq_object* obj, const char* member, int32_t flags,
                          const char* expected) {
  vq_value result;
  int ok = vq_invoke(obj, dispid_of(obj, member), flags, NULL, 0, &result) == 0 &&
           result.kind == VQ_TEXT && result.text_len == strlen(expected) &&
           memcmp(result.text, expected, result.text_len) == 0;
  if (!ok) fprintf(stderr, "%s: got '%s'\n", member, result.kind == VQ_TEXT ? result.text : "?");
  vq_value_clear(&result);
  return ok;
}

static void on_event(void* context, vq_object* source, int32_t dispid) {
  (void)source;
  if (dispid == 1) ++*(int*)context;
}

int main(void) {
  vq_object* col = NULL;
  CHECK(vq_create("vexqom_PLUMEK2.ICatItemCol", &col) == 0 && col != NULL);
  if (col == NULL) return 1;
  int events = 0;
  uint32_t cookie = 0;
  CHECK(vq_advise(col, on_event, &events, &cookie) == 0 && cookie != 0);

  /* Load the stored selection. */
  vq_value arg = text_value(kSelection), result;
  CHECK(vq_invoke(col, dispid_of(col, "XML"), VQ_LET, &arg, 1, &result) == 0);
  vq_value_clear(&arg);
  vq_value_clear(&result);
  CHECK(events == 3);
  CHECK(vq_invoke(col, dispid_of(col, "Count"), VQ_GET, NULL, 0, &result) == 0 &&
        result.kind == VQ_LONG && result.i == 3);
  vq_value_clear(&result);
  CHECK(text_member_is(col, "XDocVersion", VQ_GET, "v2.20"));
  CHECK(currency_of(col, "ItemsTotalCount", VQ_GET) == 30000);
  CHECK(currency_of(col, "ItemsTotalCost", VQ_GET) == 170000);
  CHECK(currency_of(col, "ItemsSelectedCount", VQ_METHOD) == 30000);
  CHECK(currency_of(col, "ItemsSelectedCost", VQ_METHOD) == 170000);

  /* Walk the items in order. */
  static const char* keys[] = {"ACD012345", "Replace plugs R&R", "FRAPH8A"};
  CHECK(vq_invoke(col, -4, VQ_GET, NULL, 0, &result) == 0 && result.kind == VQ_OBJECT &&
        result.obj != NULL);
  vq_object* walker = result.obj;
  vq_value member;
  int seen = 0;
  while (walker && vq_enum_next(walker, &member) == 1) {
    CHECK(member.kind == VQ_OBJECT && member.obj != NULL);
    if (member.obj && seen < 3) CHECK(text_member_is(member.obj, "UniqueKey", VQ_METHOD, keys[seen]));
    ++seen;
    vq_value_clear(&member);
  }
  CHECK(seen == 3);
  vq_value_clear(&result); /* releases the enumerator */

  /* The vehicle came with the document. */
  CHECK(vq_invoke(col, dispid_of(col, "Vehicle"), VQ_GET, NULL, 0, &result) == 0 &&
        result.kind == VQ_OBJECT && result.obj != NULL);
  if (result.obj) CHECK(text_member_is(result.obj, "Make", VQ_GET, "Ford"));
  vq_value_clear(&result);

  /* ItemExists cleans the caller's malloc'ed key. */
  vq_value key = text_value("ACD\t012345");
  CHECK(vq_invoke(col, dispid_of(col, "ItemExists"), VQ_METHOD, &key, 1, &result) == 0 &&
        result.kind == VQ_BOOLEAN && result.i == -1);
  CHECK(key.kind == VQ_TEXT && key.text_len == 9 && strcmp(key.text, "ACD012345") == 0);
  vq_value_clear(&key);
  vq_value_clear(&result);

  /* One event per added item, none for a refused key or a removal. */
  vq_object* item = NULL;
  CHECK(vq_create("vexqom_PLUMEK2.ICatItem", &item) == 0 && item != NULL);
  vq_value add_args[2] = {object_value(item), text_value("NEW1")};
  CHECK(vq_invoke(col, dispid_of(col, "Add"), VQ_METHOD, add_args, 2, &result) == 0 &&
        result.kind == VQ_OBJECT && result.obj == item);
  vq_value_clear(&result);
  CHECK(events == 4);
  vq_value_clear(&add_args[1]);
  add_args[1] = text_value("new1");
  CHECK(vq_invoke(col, dispid_of(col, "Add"), VQ_METHOD, add_args, 2, &result) == 0 &&
        result.kind == VQ_OBJECT && result.obj == NULL);
  vq_value_clear(&result);
  vq_value_clear(&add_args[0]);
  vq_value_clear(&add_args[1]);
  CHECK(events == 4);
  key = text_value("NEW1");
  CHECK(vq_invoke(col, dispid_of(col, "Remove"), VQ_METHOD, &key, 1, &result) == 0 &&
        result.kind == VQ_EMPTY);
  vq_value_clear(&key);
  CHECK(events == 4);

  /* Clear(true) leaves no member list: Count fails with 91. */
  vq_value destroy;
  memset(&destroy, 0, sizeof destroy);
  destroy.kind = VQ_BOOLEAN;
  destroy.i = -1;
  CHECK(vq_invoke(col, dispid_of(col, "Clear"), VQ_METHOD, &destroy, 1, &result) == 0);
  CHECK(vq_invoke(col, dispid_of(col, "Count"), VQ_GET, NULL, 0, &result) == 91);
  CHECK(vq_error_number() == 91);
  CHECK(vq_invoke(col, dispid_of(col, "Clear"), VQ_METHOD, NULL, 0, &result) == 0);

  CHECK(vq_unadvise(col, cookie) == 0);
  vq_release(item);
  CHECK(vq_release(col) == 0);
  if (failures == 0) printf("selection_host: all checks passed\n");
  return failures == 0 ? 0 : 1;
}
