#pragma once
// XPath 3.1 token kinds, token classes, grammar rules, labels and steps: the vocabulary shared by
// the scanner, the tokenizer, the parser and their users (coloring, completion, checking).

#include <cstdint>
#include <string>
#include <string_view>

namespace xylem {

// Token kinds. The order is fixed: tables (expected sets, follower sets) are indexed by it.
enum TyXPath31Token : uint8_t {
  // Names and wildcards
  X_AsteriskColonNCName,
  X_BracedURILiteralAsterisk,
  X_EQName,
  X_EQName_ALT_1,
  X_EQName_ALT_2,
  X_EQName_ALT_3,
  X_EQName_ALT_4,
  X_NCName,
  X_NCNameColonAsterisk,
  // Keywords
  X_Ancestor,
  X_AncestorOrSelf,
  X_And,
  X_Array_ALT_1,
  X_Array_ALT_2,
  X_Array_ALT_3,
  X_As,
  X_Attribute_ALT_1,
  X_Attribute_ALT_2,
  X_Cast,
  X_Castable,
  X_Child,
  X_Comment,
  X_Descendant,
  X_DescendantOrSelf,
  X_Div,
  X_DocumentNode,
  X_Element,
  X_Else,
  X_EmptySequence,
  X_Every,
  X_Except,
  X_Following,
  X_FollowingSibling,
  X_For,
  X_FortranEq,
  X_FortranGe,
  X_FortranGt,
  X_FortranLe,
  X_FortranLt,
  X_FortranNe,
  X_Function_ALT_1,
  X_Function_ALT_2,
  X_Function_ALT_3,
  X_IDiv,
  X_If,
  X_In,
  X_Instance,
  X_Intersect,
  X_Is,
  X_Item,
  X_Let,
  X_Map_ALT_1,
  X_Map_ALT_2,
  X_Map_ALT_3,
  X_Mod,
  X_Namespace,
  X_NamespaceNode,
  X_Node,
  X_Of,
  X_Or,
  X_Parent,
  X_Preceding,
  X_PrecedingSibling,
  X_ProcessingInstruction,
  X_Return,
  X_Satisfies,
  X_SchemaAttribute,
  X_SchemaElement,
  X_Self,
  X_Some,
  X_Text,
  X_Then,
  X_To,
  X_Treat,
  X_Union,
  // Literals
  X_IntegerLiteral,
  X_NumericLiteral,
  X_StringLiteral,
  // Symbols
  X_Arrow,
  X_Asterisk,
  X_At,
  X_Bang,
  X_Colon,
  X_ColonColon,
  X_ColonEqual,
  X_Comma,
  X_Dollar,
  X_Dot,
  X_DotDot,
  X_Equal,
  X_Gt,
  X_GtEqual,
  X_GtGt,
  X_Hash,
  X_LCurlyBracket,
  X_LParenthesis,
  X_LSquareBracket,
  X_Lt,
  X_LtEqual,
  X_LtLt,
  X_Minus,
  X_NotEqual,
  X_Plus,
  X_QMark,
  X_QMark_ALT_1,
  X_QMark_ALT_2,
  X_RCurlyBracket,
  X_RParenthesis,
  X_RSquareBracket,
  X_Slash,
  X_SlashSlash,
  X_VBar,
  X_VBarVBar,
  // Special
  X_AVT,
  X_BOF,
  X_EOF,
  X_ERROR
};
inline constexpr int kXPath31TokenCount = 117;
static_assert(X_ERROR + 1 == kXPath31TokenCount);

// Token classes for coloring, completion and tool tips.
enum TyXPath31TokenType : uint8_t {
  xtAVT,
  xtAxis,
  xtBracket,
  xtConstructor,
  xtContextItem,
  xtError,
  xtFunctionCall,
  xtItemType,
  xtKeySpecifier,
  xtKeyword,
  xtNameTest,
  xtNameTestNoScope,
  xtNumber,
  xtOccurrence,
  xtOperator,
  xtSchemaAtomicOrUnionType,
  xtSchemaSimpleTypeName,
  xtSchemaTypeName,
  xtSlash,
  xtString,
  xtSymbol,
  xtVariable,
  xtVariableRef
};
inline constexpr int kXPath31TokenTypeCount = 23;
static_assert(xtVariableRef + 1 == kXPath31TokenTypeCount);

// Grammar rules of the parser: XPath 3.1, then the XSLT 3.0 pattern rules, then AVT and ERROR.
enum TyXPath31ParserRule : uint8_t {
  xprParamList,
  xprParam,
  xprFunctionBody,
  xprEnclosedExpr,
  xprExpr,
  xprExprSingle,
  xprForExpr,
  xprSimpleForClause,
  xprSimpleForBinding,
  xprLetExpr,
  xprSimpleLetClause,
  xprSimpleLetBinding,
  xprQuantifiedExpr,
  xprIfExpr,
  xprOrExpr,
  xprAndExpr,
  xprComparisonExpr,
  xprStringConcatExpr,
  xprRangeExpr,
  xprAdditiveExpr,
  xprMultiplicativeExpr,
  xprUnionExpr,
  xprIntersectExceptExpr,
  xprInstanceofExpr,
  xprTreatExpr,
  xprCastableExpr,
  xprCastExpr,
  xprArrowExpr,
  xprUnaryExpr,
  xprValueExpr,
  xprGeneralComp,
  xprValueComp,
  xprNodeComp,
  xprSimpleMapExpr,
  xprPathExpr,
  xprRelativePathExpr,
  xprStepExpr,
  xprAxisStep,
  xprForwardStep,
  xprForwardAxis,
  xprAbbrevForwardStep,
  xprReverseStep,
  xprReverseAxis,
  xprAbbrevReverseStep,
  xprNodeTest,
  xprNameTest,
  xprWildcard,
  xprPostfixExpr,
  xprArgumentList,
  xprPredicateList,
  xprPredicate,
  xprLookup,
  xprKeySpecifier,
  xprArrowFunctionSpecifier,
  xprPrimaryExpr,
  xprLiteral,
  xprVarRef,
  xprVarName,
  xprParenthesizedExpr,
  xprContextItemExpr,
  xprFunctionCall,
  xprArgument,
  xprArgumentPlaceholder,
  xprFunctionItemExpr,
  xprNamedFunctionRef,
  xprInlineFunctionExpr,
  xprMapConstructor,
  xprMapConstructorEntry,
  xprMapKeyExpr,
  xprMapValueExpr,
  xprArrayConstructor,
  xprSquareArrayConstructor,
  xprCurlyArrayConstructor,
  xprUnaryLookup,
  xprSingleType,
  xprTypeDeclaration,
  xprSequenceType,
  xprOccurrenceIndicator,
  xprItemType,
  xprAtomicOrUnionType,
  xprKindTest,
  xprAnyKindTest,
  xprDocumentTest,
  xprTextTest,
  xprCommentTest,
  xprNamespaceNodeTest,
  xprPITest,
  xprAttributeTest,
  xprAttribNameOrWildcard,
  xprSchemaAttributeTest,
  xprAttributeDeclaration,
  xprElementTest,
  xprElementNameOrWildcard,
  xprSchemaElementTest,
  xprElementDeclaration,
  xprAttributeName,
  xprElementName,
  xprSimpleTypeName,
  xprTypeName,
  xprFunctionTest,
  xprAnyFunctionTest,
  xprTypedFunctionTest,
  xprMapTest,
  xprAnyMapTest,
  xprTypedMapTest,
  xprArrayTest,
  xprAnyArrayTest,
  xprTypedArrayTest,
  xprParenthesizedItemType,
  xprPattern30,
  xprPredicatePattern,
  xprUnionExprP,
  xprIntersectExceptExprP,
  xprPathExprP,
  xprRootedPath,
  xprFunctionCallP,
  xprOuterFunctionName,
  xprArgumentListP,
  xprArgumentP,
  xprRelativePathExprP,
  xprStepExprP,
  xprPostfixExprP,
  xprParenthesizedExprP,
  xprAxisStepP,
  xprForwardStepP,
  xprForwardAxisP,
  xprAVT,
  xprERROR
};
inline constexpr int kXPath31ParserRuleCount = 128;
static_assert(xprERROR + 1 == kXPath31ParserRuleCount);

// Value name of a token kind, e.g. "X_Plus".
std::string_view XPath31TokenName(TyXPath31Token Kind);
// Value name of a token class, e.g. "xtOperator".
std::string_view XPath31TokenTypeName(TyXPath31TokenType Type);
// Rule name without its "xpr" prefix, e.g. "AdditiveExpr" (as passed to listeners).
std::u16string_view XPath31RuleName(TyXPath31ParserRule Rule);
// Written form of a fixed token ("+", "return", ")"), empty for names, literals and specials.
std::u16string_view XPath31TokenDisplayText(TyXPath31Token Kind);

// A grammar position: the token kind consumed there and the rule that consumed it. Its text form
// is the token's value name and the rule's name in square brackets ("X_Plus[AdditiveExpr]").
struct TyXPath31Label {
  TyXPath31Token Token = X_ERROR;
  TyXPath31ParserRule Rule = xprERROR;

  // Dense index for tables: Token * kXPath31ParserRuleCount + Rule.
  constexpr uint16_t Index() const { return uint16_t(Token * kXPath31ParserRuleCount + Rule); }
  // Text form, e.g. "X_BOF[Expr]"; allocates.
  std::string Text() const;
  friend constexpr bool operator==(TyXPath31Label, TyXPath31Label) = default;
};
inline constexpr int kXPath31LabelCount = kXPath31TokenCount * kXPath31ParserRuleCount;

// One token of an expression as the tokenizer records it and the parser labels it.
struct TyXPath31Step {
  const char16_t* PHead = nullptr;        // first character of the token in the text
  const char16_t* PTail = nullptr;        // just past its last character
  TyXPath31Label RuleContext;             // where the parser consumed it (X_ERROR[ERROR]: not yet)
  TyXPath31Token XPath31Token = X_ERROR;  // token kind
  int32_t XPath31TokenIndex = 0;          // index of its first character in the expression
  std::u16string_view XPath31TokenText;   // the token's text (a view into the expression)
  TyXPath31TokenType XPath31TokenType = xtError;  // token class; xtError until consumed
};
using PyXPath31Step = TyXPath31Step*;

}  // namespace xylem
