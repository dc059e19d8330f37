// Embedded XPath coloring: the categories of a small expression token by token, items that
// cover every line of a multi-line value without gaps in document positions, the failing token
// and what follows it, and the schemes.

#include "xpath/EmbeddedColoring.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "common/Utf.hpp"

namespace xylem {
namespace {

using C = TyXPathColoringCategory;

struct TyItem {
  std::u16string Text;
  C Category;
  bool operator==(const TyItem&) const = default;
};

std::ostream& operator<<(std::ostream& Out, const TyItem& Item) {
  return Out << '"' << ToUTF8(Item.Text) << "\" "
             << CyXPathColoring::getCategoryName(Item.Category);
}

std::vector<TyItem> Tokens(CyXPathEmbeddedLineColoring& Coloring, int64_t Line) {
  std::vector<TyItem> Out;
  for (Coloring.First(Line); !Coloring.IsDone(); Coloring.Next())
    if (Coloring.ItemCategory() != C::xpcText)
      Out.push_back({std::u16string(Coloring.ItemText()), Coloring.ItemCategory()});
  return Out;
}

TEST(EmbeddedColoringTest, CategoriesOfASmallExpression) {
  std::vector<std::u16string> Lines = {u"for $x in a/@b return f($x, 'y', 2) + ."};
  CyXPathEmbeddedLineColoring Coloring(Lines, xprExpr);
  EXPECT_TRUE(Coloring.getIsValid());
  std::vector<TyItem> Expected = {
      {u"for", C::xpcKeyword},    {u"$", C::xpcVariable},    {u"x", C::xpcVariable},
      {u"in", C::xpcKeyword},     {u"a", C::xpcNameTest},    {u"/", C::xpcSlash},
      {u"@", C::xpcAxis},         {u"b", C::xpcNameTest},    {u"return", C::xpcKeyword},
      {u"f", C::xpcFunctionCall}, {u"(", C::xpcBracket},     {u"$", C::xpcVariable},
      {u"x", C::xpcVariable},     {u",", C::xpcSymbol},      {u"'y'", C::xpcString},
      {u",", C::xpcSymbol},       {u"2", C::xpcNumber},      {u")", C::xpcBracket},
      {u"+", C::xpcOperator},     {u".", C::xpcContextItem},
  };
  EXPECT_EQ(Tokens(Coloring, 1), Expected);

  CyXPathEmbeddedLineColoring Type({u"xs:integer+"}, xprSequenceType);
  EXPECT_EQ(Tokens(Type, 1),
            (std::vector<TyItem>{{u"xs:integer", C::xpcSchemaType}, {u"+", C::xpcOccurrence}}));
  CyXPathEmbeddedLineColoring Template({u"a{$v}b"}, xprAVT);
  EXPECT_EQ(Tokens(Template, 1), (std::vector<TyItem>{{u"a", C::xpcAVTText},
                                                      {u"{", C::xpcBracket},
                                                      {u"$", C::xpcVariable},
                                                      {u"v", C::xpcVariable},
                                                      {u"}", C::xpcBracket},
                                                      {u"b", C::xpcAVTText}}));
}

TEST(EmbeddedColoringTest, ItemsCoverEachLineInDocumentPositions) {
  // A value starting at line 7, position 12, with a string literal across a line break.
  std::vector<std::u16string> Lines = {u"count(a) > 1", u"  and 'two", u"lines' = b  ", u"",
                                       u"or c"};
  CyXPathEmbeddedLineColoring Coloring(Lines, xprExpr, 7, 12);
  EXPECT_TRUE(Coloring.getIsValid());
  for (int64_t L = 0; L < int64_t(Lines.size()); ++L) {
    SCOPED_TRACE(L);
    int64_t Expect = L == 0 ? 12 : 1;
    std::u16string Seen;
    for (Coloring.First(7 + L); !Coloring.IsDone(); Coloring.Next()) {
      EXPECT_EQ(Coloring.ItemLinepos(), Expect);
      EXPECT_GE(Coloring.ItemTextCount(), 1);
      Expect += Coloring.ItemTextCount();
      Seen += Coloring.ItemText();
    }
    EXPECT_EQ(Seen, Lines[size_t(L)]);
  }
  Coloring.First(8);
  Coloring.Next();
  Coloring.Next();
  EXPECT_EQ(Coloring.ItemText(), u" ");
  Coloring.Next();
  EXPECT_EQ(Coloring.ItemText(), u"'two");
  EXPECT_EQ(Coloring.ItemCategory(), C::xpcString);
  Coloring.First(9);
  EXPECT_EQ(Coloring.ItemText(), u"lines'");
  EXPECT_EQ(Coloring.ItemCategory(), C::xpcString);
  Coloring.First(6);
  EXPECT_TRUE(Coloring.IsDone());
  Coloring.First(12);
  EXPECT_TRUE(Coloring.IsDone());
}

TEST(EmbeddedColoringTest, FailingTokenIsAnErrorAndLaterTokensKeepTheirLook) {
  CyXPathEmbeddedLineColoring Coloring({u"1 + ] 'x' 2 if"}, xprExpr);
  EXPECT_FALSE(Coloring.getIsValid());
  EXPECT_EQ(Coloring.getMessage(), u"Unexpected \"]\".");
  EXPECT_EQ(Tokens(Coloring, 1), (std::vector<TyItem>{{u"1", C::xpcNumber},
                                                      {u"+", C::xpcOperator},
                                                      {u"]", C::xpcError},
                                                      {u"'x'", C::xpcString},
                                                      {u"2", C::xpcNumber},
                                                      {u"if", C::xpcNameTest}}));
  CyXPathEmbeddedLineColoring Open({u"'open"}, xprExpr);
  EXPECT_EQ(Tokens(Open, 1), (std::vector<TyItem>{{u"'open", C::xpcError}}));
  CyXPathEmbeddedLineColoring Empty(std::vector<std::u16string>{u""}, xprExpr);
  Empty.First(1);
  EXPECT_TRUE(Empty.IsDone());
}

// Attribute text as written colours like its expanded form, token for token, with each item
// covering the written characters (a reference included).
TEST(EmbeddedColoringTest, WrittenReferencesColourLikeTheirCharacters) {
  const struct {
    std::u16string Written, Expanded;
    std::vector<std::u16string> Pieces;  // the written text of the items that are no xpcText
  } Rows[] = {
      {u"a &gt;= &#49; and &apos;x&apos; = \"&amp;\"",
       u"a >= 1 and 'x' = \"&\"",
       {u"a", u"&gt;=", u"&#49;", u"and", u"&apos;x&apos;", u"=", u"\"&amp;\""}},
      {u"$v&lt;&#x32;", u"$v<2", {u"$", u"v", u"&lt;", u"&#x32;"}},
      // An unknown entity stays as written and fails where it stands.
      {u"1 + &nbsp;", u"1 + &nbsp;", {u"1", u"+", u"&"}},
  };
  for (const auto& R : Rows) {
    CyXPathEmbeddedLineColoring Written({R.Written}, xprExpr, 1, 1, CyXPathColoring::DefaultLight(),
                                        true);
    CyXPathEmbeddedLineColoring Expanded({R.Expanded}, xprExpr);
    EXPECT_EQ(Written.getIsValid(), Expanded.getIsValid()) << ToUTF8(R.Written);
    std::vector<TyItem> Got = Tokens(Written, 1), Want = Tokens(Expanded, 1);
    ASSERT_EQ(Got.size(), Want.size()) << ToUTF8(R.Written);
    ASSERT_EQ(Got.size(), R.Pieces.size()) << ToUTF8(R.Written);
    for (size_t I = 0; I < Got.size(); ++I) {
      EXPECT_EQ(Got[I].Category, Want[I].Category) << ToUTF8(R.Written) << " item " << I;
      EXPECT_EQ(Got[I].Text, R.Pieces[I]) << ToUTF8(R.Written) << " item " << I;
    }
  }
}

TEST(EmbeddedColoringTest, SchemesNameEveryCategoryAndKeepDefaultBackgrounds) {
  CyXPathColoring Light = CyXPathColoring::DefaultLight(), Dark = CyXPathColoring::DefaultDark();
  for (size_t I = 0; I < kXPathColoringCategoryCount; ++I) {
    C Category = C(I), Found;
    std::string_view Name = CyXPathColoring::getCategoryName(Category);
    ASSERT_FALSE(Name.empty());
    ASSERT_TRUE(CyXPathColoring::FindCategory(Name, Found));
    EXPECT_EQ(Found, Category);
    EXPECT_NE(Light.getItem(Category).Foreground, Dark.getItem(Category).Foreground) << Name;
    EXPECT_NE(Light.getItem(Category).Foreground, kNoColor) << Name;
    if (Category != C::xpcError) {
      EXPECT_EQ(Light.getItem(Category).Background, kNoColor) << Name;
      EXPECT_EQ(Dark.getItem(Category).Background, kNoColor) << Name;
    }
  }
  for (int T = 0; T < kXPath31TokenTypeCount; ++T)
    EXPECT_LT(size_t(XPathColoringCategoryOf(TyXPath31TokenType(T))), kXPathColoringCategoryCount);
  CyXPathEmbeddedLineColoring Coloring({u"$a"}, xprExpr, 1, 1, Dark);
  Coloring.First(1);
  EXPECT_EQ(Coloring.ItemForegroundColor(), Dark.getItem(C::xpcVariable).Foreground);
  EXPECT_EQ(Coloring.ItemBackgroundColor(), kNoColor);
}

}  // namespace
}  // namespace xylem
