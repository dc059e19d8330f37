#include "xml/syntax/TokenizerKinds.hpp"

#include <string>

#include "common/Exception.hpp"

namespace xylem {

namespace {

constexpr std::string_view kGroupNames[kXMLGroupCount] = {
    "NONE",
    "NEUTRAL",
    "CDATA",
    "COMMENT",
    "DOCTYPE",
    "DT_DECL",
    "DT_DECL_ATTLIST",
    "DT_DECL_COMMENT",
    "DT_DECL_CONDITIONAL",
    "DT_DECL_ELEMENT",
    "DT_DECL_ENTITY",
    "DT_DECL_NOTATION",
    "DOCUMENT",
    "ELEMENT_OPEN",
    "ELEMENT_CLOSE",
    "PI",
    "REF_ENTITY",
    "STRUCTURE",
    "TEXT",
    "XML",
    "XMLModel",
    "XMLStylesheet",
};

constexpr std::string_view kSymbolNames[kXMLSymbolCount] = {
    "NONE",      "OPEN",           "OPEN_SLASH",
    "CLOSE",     "CLOSE_SLASH",    "BODY",
    "TAG",       "ATTRIBUTE_NAME", "ATTRIBUTE_VALUE",
    "EQUALS",    "BRACKET_N_OPEN", "BRACKET_N_CLOSE",
    "BRACKET_N", "BRACKET_R_OPEN", "BRACKET_R_CLOSE",
    "BRACKET_R", "STRING1_N_OPEN", "STRING1_N_CLOSE",
    "STRING1_N", "STRING2_N_OPEN", "STRING2_N_CLOSE",
    "STRING2_N", "STRING1_V_OPEN", "STRING1_V_CLOSE",
    "STRING1_V", "STRING2_V_OPEN", "STRING2_V_CLOSE",
    "STRING2_V", "WHITESPACE",
};

}  // namespace

std::string_view XMLGroupName(unsigned group) {
  if (group < kXMLGroupCount) return kGroupNames[group];
  throw CyShouldNeverHappenException("XMLGroupName: unknown group " + std::to_string(group));
}

std::string_view XMLSymbolName(unsigned symbol) {
  if (symbol < kXMLSymbolCount) return kSymbolNames[symbol];
  switch (symbol) {
    case 35:
      return "CLOSE?";
    case 43:
      return "BRACKET_N_CLOSE?";
    case 46:
      return "BRACKET_R_CLOSE?";
    case 49:
      return "STRING1_N_CLOSE?";
    case 52:
      return "STRING2_N_CLOSE?";
    case 54:
      return "STRING1_V_OPEN?";
    case 55:
      return "STRING1_V_CLOSE?";
    case 56:
      return "STRING1_V?";
    case 57:
      return "STRING2_V_OPEN?";
    case 58:
      return "STRING2_V_CLOSE?";
    case 59:
      return "STRING2_V?";
    default:
      break;
  }
  throw CyShouldNeverHappenException("XMLSymbolName: unknown symbol " + std::to_string(symbol));
}

}  // namespace xylem
