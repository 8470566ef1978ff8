// Under VEXQOM_CODE_PAGE=utf-8 (set for this program by the build) no character is lost:
// records, collections, the engine, its files and the logs keep every character.
#include <gtest/gtest.h>

#include <string>

#include "frame/code_page.h"
#include "frame/diagnostics.h"
#include "support/log_folder.h"
#include "vexqom/ICatItemCol.h"
#include "xml/clsXML.h"

namespace vexqom {
namespace {

// Beyond Windows-1252 (CJK, Polish, a character outside the BMP) and inside it.
const Text kWords = u"\u706b\u82b1\u585e \u0142\u00f3d\u017a \U0001F697 \u00e9\u20ac & <x>";

TEST(CodePageUtf8, EveryCharacterSurvivesRecordsDocumentsFilesAndLogs) {
  ASSERT_TRUE(code_page_is_utf8());
  EXPECT_EQ(to_code_page(kWords), to_utf8(kWords));

  testing::LogFolder logs;
  auto selection = create<ICatItemCol>();
  auto item = create<ICatItem>();
  item->put_Description(kWords);
  item->put_LineCode(u"\u0141N");
  item->get_PriceCol()->get_Item(Variant(Text(u"\u00d3d\u017a")))->put_Rank(kWords);
  selection->Add(item, item->UniqueKey());
  selection->get_Vehicle()->put_Make(kWords);
  const Text document = selection->get_XML();

  auto copy = create<ICatItemCol>();
  copy->put_XML(document);
  EXPECT_EQ(copy->get_XML(), document);
  Variant first(int32_t{1});
  EXPECT_EQ(copy->get_Item(first)->get_Description(), kWords);
  EXPECT_EQ(copy->get_Item(first)->get_PriceCol()->get_Item(Variant(Text(u"\u00f3D\u017a")))
                ->get_Rank(),
            kWords)
      << "a key beyond Windows-1252 is found caselessly";
  EXPECT_EQ(copy->get_Vehicle()->get_Make(), kWords);

  // The engine reads values and blocks, and its files hold UTF-8.
  auto engine = create<clsXML>();
  engine->put_XML(u"<r><v> " + clsXML::EscapeValue(kWords) + u" </v><b>\u4e2d</b></r>");
  EXPECT_EQ(engine->get_Value(u"v", 1), kWords);
  EXPECT_EQ(engine->get_Block(u"b", 1), u"<b>\u4e2d</b>");
  const std::string file = logs.path() + "/words";
  engine->XMLFileWrite(from_utf8(file), false);
  EXPECT_NE(testing::LogFolder::read_file(file + ".xml").find(to_utf8(u"\u4e2d")),
            std::string::npos);
  auto reader = create<clsXML>();
  reader->XMLFileRead(from_utf8(file));
  EXPECT_EQ(reader->get_Value(u"v", 1), kWords);

  diag::ErrorLog_Write(kWords);
  ASSERT_EQ(logs.error_lines().size(), 1u);
  EXPECT_EQ(testing::log_message(logs.error_lines()[0]), to_utf8(kWords));
}

}  // namespace
}  // namespace vexqom
