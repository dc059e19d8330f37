#include "json/Coloring.hpp"

namespace xylem {

namespace {

using C = TyJSONColoringCategory;

constexpr std::string_view kNames[] = {
#define XYLEM_X(value, name, getter) name,
    XYLEM_JSON_COLORING_CATEGORIES(XYLEM_X)
#undef XYLEM_X
};
static_assert(std::size(kNames) == kJSONColoringCategoryCount);

// The XML scheme's roles carried over: keys as attribute names, string values as attribute
// values, punctuation as markup markers, white space as text.
constexpr TyColorDefault<C> kDefaults[] = {
    {C::jcKey, {0xA31515, kNoColor, fsNone}, {0x9CDCFE, kNoColor, fsNone}},
    {C::jcString, {0x0000FF, kNoColor, fsNone}, {0xCE9178, kNoColor, fsNone}},
    {C::jcNumber, {0x098658, kNoColor, fsNone}, {0xB5CEA8, kNoColor, fsNone}},
    {C::jcLiteral, {0x800080, kNoColor, fsBold}, {0x569CD6, kNoColor, fsBold}},
    {C::jcPunctuation, {0x808080, kNoColor, fsNone}, {0x808080, kNoColor, fsNone}},
    {C::jcPlain, {0x000000, kNoColor, fsNone}, {0xD4D4D4, kNoColor, fsNone}},
    {C::jcError, {0xFF0000, 0xFFE4E4, fsUnderline}, {0xF44747, 0x3A1D1D, fsUnderline}},
};
static_assert(std::size(kDefaults) == kJSONColoringCategoryCount);

}  // namespace

CyJSONColoring::CyJSONColoring() { SetDefaults(kDefaults, false); }

CyJSONColoring CyJSONColoring::DefaultDark() {
  CyJSONColoring scheme;
  scheme.SetDefaults(kDefaults, true);
  return scheme;
}

std::string_view CyJSONColoring::getCategoryName(TyJSONColoringCategory Category) {
  return NameOf(kNames, Category);
}

bool CyJSONColoring::FindCategory(std::string_view Name, TyJSONColoringCategory& Category) {
  return Find(kNames, Name, Category);
}

CyJSONTokenColoring::CyJSONTokenColoring(const char16_t* Data, size_t Count)
    : Scanner_(Data, Count), End_(Data + Count) {}

bool CyJSONTokenColoring::Next() {
  if (State_ == stAfterError) {
    State_ = stDone;
    if (Tail_ != End_) {
      Head_ = Tail_, Tail_ = End_, Category_ = C::jcPlain;
      return true;
    }
  }
  if (State_ == stDone) return false;
  try {
    Scanner_.Next();
  } catch (const JSONException& error) {
    // The scanner has moved its head to the failing token before raising.
    Error_ = error;
    Head_ = Scanner_.Head();
    Tail_ = Head_;
    while (Tail_ < End_ && *Tail_ != u'\n' && *Tail_ != u'\r') ++Tail_;
    State_ = stAfterError;
    if (Tail_ == Head_) return Next();  // stretches are never empty
    Category_ = C::jcError;
    return true;
  }
  Head_ = Scanner_.Head();
  Tail_ = Scanner_.Tail();
  switch (Scanner_.Token()) {
    case jsonEOI:
    case jsonBOI:
      State_ = stDone;
      return false;
    case jsonString: {
      // A key is known only by what follows it; white space between is skipped twice, which
      // costs less than holding tokens back.
      Category_ = *SkipJSONWhitespace(Tail_) == u':' ? C::jcKey : C::jcString;
      break;
    }
    case jsonNumber:
      Category_ = C::jcNumber;
      break;
    case jsonLiteralFalse:
    case jsonLiteralNull:
    case jsonLiteralTrue:
      Category_ = C::jcLiteral;
      break;
    case jsonWhitespace:
    case jsonError:
      Category_ = C::jcPlain;
      break;
    case jsonColon:
    case jsonComma:
    case jsonLeftCurlyBracket:
    case jsonLeftSquareBracket:
    case jsonRightCurlyBracket:
    case jsonRightSquareBracket:
      Category_ = C::jcPunctuation;
      break;
  }
  return true;
}

}  // namespace xylem
