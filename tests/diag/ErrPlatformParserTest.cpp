#include "diag/ErrPlatformParser.hpp"

#include <gtest/gtest.h>

#include "common/Utf.hpp"

namespace xylem {
namespace {

TEST(ErrPlatformParser, ShortMessageShowsLineAndCodeOnlyWhenKnown) {
  struct Row {
    int32_t line, linepos, code;
    std::u16string expected;
  };
  const Row rows[] = {
      {3, 7, -1, u"Line 3 Column 7\r\nEnd tag missing"},
      {0, 7, -1, u"End tag missing"},  // line 0: no line-and-column part
      {3, 0, -1, u"End tag missing"},
      {-1, -1, -1, u"End tag missing"},
      {3, 7, static_cast<int32_t>(0xC00CE56DU), u"Line 3 Column 7\r\n0xC00CE56D - End tag missing"},
      {0, 0, 0, u"0x00000000 - End tag missing"},
      {0, 0, 0xFF, u"0x000000FF - End tag missing"},
      {0, 0, INT32_MIN, u"0x80000000 - End tag missing"},
      {12345, 2147483647, 0x7FFFFFFF,
       u"Line 12345 Column 2147483647\r\n0x7FFFFFFF - End tag missing"},
  };
  for (const Row& row : rows) {
    const CyXMLError error(u"a.xml", row.line, row.linepos, u"End tag missing", row.code);
    EXPECT_EQ(ToUTF8(error.ShortDisplayMessage()), ToUTF8(row.expected));
  }
}

TEST(ErrPlatformParser, LongMessageListsKnownItemsAndIndentsNestedErrors) {
  const auto address = std::make_shared<CyXMLAddressWithText>(
      std::vector<TyXMLAddressStep>{{u"doc", 1, false}, {u"", 2, true}});
  const auto innermost = std::make_shared<CyXMLError>(u"", 0, 0, u"deepest", -1);
  const auto first =
      std::make_shared<CyXMLError>(u"inc.xml", 4, 0, u"inner one", 5, nullptr, u"",
                                   std::vector<std::shared_ptr<const CyXMLError>>{innermost});
  const auto second = std::make_shared<CyXMLError>(u"", 0, 0, u"inner two", -1);
  const CyXMLError outer(u"a.xml", 3, 7, u"outer", static_cast<int32_t>(0xC00CE56DU), address,
                         u"/doc", {first, nullptr, second});
  EXPECT_EQ(ToUTF8(outer.LongDisplayMessage()),
            "Reason: outer\r\n"
            "Code: 0xC00CE56D\r\n"
            "URL: a.xml\r\n"
            "Line: 3\r\n"
            "Column: 7\r\n"
            "XPath: /doc\r\n"
            "Address: /doc[1]/text()[2]\r\n"
            "Error 1:\r\n"
            "\tReason: inner one\r\n"
            "\tCode: 0x00000005\r\n"
            "\tURL: inc.xml\r\n"
            "\tLine: 4\r\n"
            "\tError 1:\r\n"
            "\t\tReason: deepest\r\n"
            "Error 2:\r\n"
            "\tReason: inner two");
  EXPECT_EQ(ToUTF8(second->LongDisplayMessage()), "Reason: inner two");
}

}  // namespace
}  // namespace xylem
