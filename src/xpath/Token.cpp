// Name tables of the XPath vocabulary, in the order of their enumerations.

#include "xpath/Token.hpp"

namespace xylem {

namespace {

constexpr std::string_view kTokenNames[kXPath31TokenCount] = {
    "X_AsteriskColonNCName",
    "X_BracedURILiteralAsterisk",
    "X_EQName",
    "X_EQName_ALT_1",
    "X_EQName_ALT_2",
    "X_EQName_ALT_3",
    "X_EQName_ALT_4",
    "X_NCName",
    "X_NCNameColonAsterisk",
    "X_Ancestor",
    "X_AncestorOrSelf",
    "X_And",
    "X_Array_ALT_1",
    "X_Array_ALT_2",
    "X_Array_ALT_3",
    "X_As",
    "X_Attribute_ALT_1",
    "X_Attribute_ALT_2",
    "X_Cast",
    "X_Castable",
    "X_Child",
    "X_Comment",
    "X_Descendant",
    "X_DescendantOrSelf",
    "X_Div",
    "X_DocumentNode",
    "X_Element",
    "X_Else",
    "X_EmptySequence",
    "X_Every",
    "X_Except",
    "X_Following",
    "X_FollowingSibling",
    "X_For",
    "X_FortranEq",
    "X_FortranGe",
    "X_FortranGt",
    "X_FortranLe",
    "X_FortranLt",
    "X_FortranNe",
    "X_Function_ALT_1",
    "X_Function_ALT_2",
    "X_Function_ALT_3",
    "X_IDiv",
    "X_If",
    "X_In",
    "X_Instance",
    "X_Intersect",
    "X_Is",
    "X_Item",
    "X_Let",
    "X_Map_ALT_1",
    "X_Map_ALT_2",
    "X_Map_ALT_3",
    "X_Mod",
    "X_Namespace",
    "X_NamespaceNode",
    "X_Node",
    "X_Of",
    "X_Or",
    "X_Parent",
    "X_Preceding",
    "X_PrecedingSibling",
    "X_ProcessingInstruction",
    "X_Return",
    "X_Satisfies",
    "X_SchemaAttribute",
    "X_SchemaElement",
    "X_Self",
    "X_Some",
    "X_Text",
    "X_Then",
    "X_To",
    "X_Treat",
    "X_Union",
    "X_IntegerLiteral",
    "X_NumericLiteral",
    "X_StringLiteral",
    "X_Arrow",
    "X_Asterisk",
    "X_At",
    "X_Bang",
    "X_Colon",
    "X_ColonColon",
    "X_ColonEqual",
    "X_Comma",
    "X_Dollar",
    "X_Dot",
    "X_DotDot",
    "X_Equal",
    "X_Gt",
    "X_GtEqual",
    "X_GtGt",
    "X_Hash",
    "X_LCurlyBracket",
    "X_LParenthesis",
    "X_LSquareBracket",
    "X_Lt",
    "X_LtEqual",
    "X_LtLt",
    "X_Minus",
    "X_NotEqual",
    "X_Plus",
    "X_QMark",
    "X_QMark_ALT_1",
    "X_QMark_ALT_2",
    "X_RCurlyBracket",
    "X_RParenthesis",
    "X_RSquareBracket",
    "X_Slash",
    "X_SlashSlash",
    "X_VBar",
    "X_VBarVBar",
    "X_AVT",
    "X_BOF",
    "X_EOF",
    "X_ERROR",
};

constexpr std::string_view kTypeNames[kXPath31TokenTypeCount] = {
    "xtAVT",
    "xtAxis",
    "xtBracket",
    "xtConstructor",
    "xtContextItem",
    "xtError",
    "xtFunctionCall",
    "xtItemType",
    "xtKeySpecifier",
    "xtKeyword",
    "xtNameTest",
    "xtNameTestNoScope",
    "xtNumber",
    "xtOccurrence",
    "xtOperator",
    "xtSchemaAtomicOrUnionType",
    "xtSchemaSimpleTypeName",
    "xtSchemaTypeName",
    "xtSlash",
    "xtString",
    "xtSymbol",
    "xtVariable",
    "xtVariableRef",
};

constexpr std::u16string_view kRuleNames[kXPath31ParserRuleCount] = {
    u"ParamList",
    u"Param",
    u"FunctionBody",
    u"EnclosedExpr",
    u"Expr",
    u"ExprSingle",
    u"ForExpr",
    u"SimpleForClause",
    u"SimpleForBinding",
    u"LetExpr",
    u"SimpleLetClause",
    u"SimpleLetBinding",
    u"QuantifiedExpr",
    u"IfExpr",
    u"OrExpr",
    u"AndExpr",
    u"ComparisonExpr",
    u"StringConcatExpr",
    u"RangeExpr",
    u"AdditiveExpr",
    u"MultiplicativeExpr",
    u"UnionExpr",
    u"IntersectExceptExpr",
    u"InstanceofExpr",
    u"TreatExpr",
    u"CastableExpr",
    u"CastExpr",
    u"ArrowExpr",
    u"UnaryExpr",
    u"ValueExpr",
    u"GeneralComp",
    u"ValueComp",
    u"NodeComp",
    u"SimpleMapExpr",
    u"PathExpr",
    u"RelativePathExpr",
    u"StepExpr",
    u"AxisStep",
    u"ForwardStep",
    u"ForwardAxis",
    u"AbbrevForwardStep",
    u"ReverseStep",
    u"ReverseAxis",
    u"AbbrevReverseStep",
    u"NodeTest",
    u"NameTest",
    u"Wildcard",
    u"PostfixExpr",
    u"ArgumentList",
    u"PredicateList",
    u"Predicate",
    u"Lookup",
    u"KeySpecifier",
    u"ArrowFunctionSpecifier",
    u"PrimaryExpr",
    u"Literal",
    u"VarRef",
    u"VarName",
    u"ParenthesizedExpr",
    u"ContextItemExpr",
    u"FunctionCall",
    u"Argument",
    u"ArgumentPlaceholder",
    u"FunctionItemExpr",
    u"NamedFunctionRef",
    u"InlineFunctionExpr",
    u"MapConstructor",
    u"MapConstructorEntry",
    u"MapKeyExpr",
    u"MapValueExpr",
    u"ArrayConstructor",
    u"SquareArrayConstructor",
    u"CurlyArrayConstructor",
    u"UnaryLookup",
    u"SingleType",
    u"TypeDeclaration",
    u"SequenceType",
    u"OccurrenceIndicator",
    u"ItemType",
    u"AtomicOrUnionType",
    u"KindTest",
    u"AnyKindTest",
    u"DocumentTest",
    u"TextTest",
    u"CommentTest",
    u"NamespaceNodeTest",
    u"PITest",
    u"AttributeTest",
    u"AttribNameOrWildcard",
    u"SchemaAttributeTest",
    u"AttributeDeclaration",
    u"ElementTest",
    u"ElementNameOrWildcard",
    u"SchemaElementTest",
    u"ElementDeclaration",
    u"AttributeName",
    u"ElementName",
    u"SimpleTypeName",
    u"TypeName",
    u"FunctionTest",
    u"AnyFunctionTest",
    u"TypedFunctionTest",
    u"MapTest",
    u"AnyMapTest",
    u"TypedMapTest",
    u"ArrayTest",
    u"AnyArrayTest",
    u"TypedArrayTest",
    u"ParenthesizedItemType",
    u"Pattern30",
    u"PredicatePattern",
    u"UnionExprP",
    u"IntersectExceptExprP",
    u"PathExprP",
    u"RootedPath",
    u"FunctionCallP",
    u"OuterFunctionName",
    u"ArgumentListP",
    u"ArgumentP",
    u"RelativePathExprP",
    u"StepExprP",
    u"PostfixExprP",
    u"ParenthesizedExprP",
    u"AxisStepP",
    u"ForwardStepP",
    u"ForwardAxisP",
    u"AVT",
    u"ERROR",
};

constexpr std::u16string_view kDisplayTexts[kXPath31TokenCount] = {
    u"",                        // X_AsteriskColonNCName
    u"",                        // X_BracedURILiteralAsterisk
    u"",                        // X_EQName
    u"",                        // X_EQName_ALT_1
    u"",                        // X_EQName_ALT_2
    u"",                        // X_EQName_ALT_3
    u"",                        // X_EQName_ALT_4
    u"",                        // X_NCName
    u"",                        // X_NCNameColonAsterisk
    u"ancestor",                // X_Ancestor
    u"ancestor-or-self",        // X_AncestorOrSelf
    u"and",                     // X_And
    u"array",                   // X_Array_ALT_1
    u"array",                   // X_Array_ALT_2
    u"array",                   // X_Array_ALT_3
    u"as",                      // X_As
    u"attribute",               // X_Attribute_ALT_1
    u"attribute",               // X_Attribute_ALT_2
    u"cast",                    // X_Cast
    u"castable",                // X_Castable
    u"child",                   // X_Child
    u"comment",                 // X_Comment
    u"descendant",              // X_Descendant
    u"descendant-or-self",      // X_DescendantOrSelf
    u"div",                     // X_Div
    u"document-node",           // X_DocumentNode
    u"element",                 // X_Element
    u"else",                    // X_Else
    u"empty-sequence",          // X_EmptySequence
    u"every",                   // X_Every
    u"except",                  // X_Except
    u"following",               // X_Following
    u"following-sibling",       // X_FollowingSibling
    u"for",                     // X_For
    u"eq",                      // X_FortranEq
    u"ge",                      // X_FortranGe
    u"gt",                      // X_FortranGt
    u"le",                      // X_FortranLe
    u"lt",                      // X_FortranLt
    u"ne",                      // X_FortranNe
    u"function",                // X_Function_ALT_1
    u"function",                // X_Function_ALT_2
    u"function",                // X_Function_ALT_3
    u"idiv",                    // X_IDiv
    u"if",                      // X_If
    u"in",                      // X_In
    u"instance",                // X_Instance
    u"intersect",               // X_Intersect
    u"is",                      // X_Is
    u"item",                    // X_Item
    u"let",                     // X_Let
    u"map",                     // X_Map_ALT_1
    u"map",                     // X_Map_ALT_2
    u"map",                     // X_Map_ALT_3
    u"mod",                     // X_Mod
    u"namespace",               // X_Namespace
    u"namespace-node",          // X_NamespaceNode
    u"node",                    // X_Node
    u"of",                      // X_Of
    u"or",                      // X_Or
    u"parent",                  // X_Parent
    u"preceding",               // X_Preceding
    u"preceding-sibling",       // X_PrecedingSibling
    u"processing-instruction",  // X_ProcessingInstruction
    u"return",                  // X_Return
    u"satisfies",               // X_Satisfies
    u"schema-attribute",        // X_SchemaAttribute
    u"schema-element",          // X_SchemaElement
    u"self",                    // X_Self
    u"some",                    // X_Some
    u"text",                    // X_Text
    u"then",                    // X_Then
    u"to",                      // X_To
    u"treat",                   // X_Treat
    u"union",                   // X_Union
    u"",                        // X_IntegerLiteral
    u"",                        // X_NumericLiteral
    u"",                        // X_StringLiteral
    u"=>",                      // X_Arrow
    u"*",                       // X_Asterisk
    u"@",                       // X_At
    u"!",                       // X_Bang
    u":",                       // X_Colon
    u"::",                      // X_ColonColon
    u":=",                      // X_ColonEqual
    u",",                       // X_Comma
    u"$",                       // X_Dollar
    u".",                       // X_Dot
    u"..",                      // X_DotDot
    u"=",                       // X_Equal
    u">",                       // X_Gt
    u">=",                      // X_GtEqual
    u">>",                      // X_GtGt
    u"#",                       // X_Hash
    u"{",                       // X_LCurlyBracket
    u"(",                       // X_LParenthesis
    u"[",                       // X_LSquareBracket
    u"<",                       // X_Lt
    u"<=",                      // X_LtEqual
    u"<<",                      // X_LtLt
    u"-",                       // X_Minus
    u"!=",                      // X_NotEqual
    u"+",                       // X_Plus
    u"?",                       // X_QMark
    u"?",                       // X_QMark_ALT_1
    u"?",                       // X_QMark_ALT_2
    u"}",                       // X_RCurlyBracket
    u")",                       // X_RParenthesis
    u"]",                       // X_RSquareBracket
    u"/",                       // X_Slash
    u"//",                      // X_SlashSlash
    u"|",                       // X_VBar
    u"||",                      // X_VBarVBar
    u"",                        // X_AVT
    u"",                        // X_BOF
    u"",                        // X_EOF
    u"",                        // X_ERROR
};

}  // namespace

std::string_view XPath31TokenName(TyXPath31Token Kind) { return kTokenNames[Kind]; }

std::string_view XPath31TokenTypeName(TyXPath31TokenType Type) { return kTypeNames[Type]; }

std::u16string_view XPath31RuleName(TyXPath31ParserRule Rule) { return kRuleNames[Rule]; }

std::u16string_view XPath31TokenDisplayText(TyXPath31Token Kind) { return kDisplayTexts[Kind]; }

std::string TyXPath31Label::Text() const {
  std::string Result(XPath31TokenName(Token));
  Result += '[';
  for (char16_t C : XPath31RuleName(Rule)) Result += char(C);
  Result += ']';
  return Result;
}

}  // namespace xylem
