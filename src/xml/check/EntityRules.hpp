#pragma once
// The entity rules of XML 1.0 applied to the references of a document: declared (when the
// document lets that be decided without reading anything outside it), not unparsed, not
// external in attribute values, no '<' in what an attribute value's reference expands to, the
// replacement text of a reference in content balanced content, no recursion, and a bounded
// expansion. Each entity's replacement text is judged once per context, however often it is
// referenced; nothing is ever expanded into memory. Internal to CyXMLWellFormed.

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "xml/check/WellFormedPiece.hpp"

namespace xylem::wellformed {

enum class TyEntityKind : uint8_t {
  ekInternal,  // a literal value: its replacement text is known
  ekExternal,  // SYSTEM or PUBLIC: never read
  ekUnparsed,  // external with NDATA
};

struct TyEntityDecl {
  TyEntityKind Kind = TyEntityKind::ekInternal;
  std::u16string Text;  // replacement text of an internal entity
};

struct TyDefaultReference {
  std::u16string Name;
  int64_t Line;
  int32_t Pos;
};

// Looks names up by view, without making a string.
struct TyNameHash {
  using is_transparent = void;
  size_t operator()(std::u16string_view Name) const noexcept {
    return std::hash<std::u16string_view>{}(Name);
  }
};
using TyEntityMap = std::unordered_map<std::u16string, TyEntityDecl, TyNameHash, std::equal_to<>>;

// What the document type declaration tells the rest of the check.
struct TyDoctypeInfo {
  TyEntityMap General;          // the first declaration of a name binds
  TyEntityMap Parameter;        // likewise
  bool ExternalSubset = false;  // an external identifier: declarations may stand there
  bool PEReferences = false;    // a parameter-entity reference: declarations may stand there
  // References in attribute-list defaults, judged as attribute values by the entity rules.
  std::vector<TyDefaultReference> DefaultReferences;
};

class CyEntityRules {
 public:
  // Standalone: the XML declaration says standalone="yes". Info must outlive this object.
  CyEntityRules(const TyDoctypeInfo& Info, bool Standalone);

  // Judges the reference to Name at (Line, Pos), in an attribute value or in content, and adds
  // what it breaks to Findings. A fault of an entity's replacement text is reported at its
  // first reference in each context only. Amortised O(1) per reference; the first reference
  // to an entity costs the length of its replacement text and of those it references.
  void Reference(const TyEntityRef& Ref, CyFindings& Findings);

  // Whether an undeclared entity is an error here.
  bool UndeclaredIsError() const { return Decided_; }

  // Replacement texts larger than this many characters are refused (entity expansion attacks).
  static constexpr int64_t kMaxExpansion = 10'000'000;
  // References nested deeper than this are refused, as libxml2 refuses them.
  static constexpr int kMaxDepth = 40;

 private:
  struct TyVerdict {
    uint8_t State = 0;     // 0 not judged, 1 being judged (a reference back is recursion), 2 done
    std::u16string Fault;  // empty: fine
    int64_t Size = 0;      // characters of the full expansion, saturated above kMaxExpansion
    bool Reported = false;
  };
  TyVerdict& Judge(const std::u16string& Name, bool InAttribute);
  std::u16string JudgeText(std::u16string_view Text, bool InAttribute, int64_t& Size);
  std::u16string JudgeNested(std::u16string_view Name, bool InAttribute, int64_t& Size);

  const TyDoctypeInfo& Info_;
  bool Decided_;
  int Depth_ = 0;  // replacement texts being judged, one inside the other
  std::unordered_map<std::u16string, TyVerdict, TyNameHash, std::equal_to<>> Content_, Attribute_;
};

}  // namespace xylem::wellformed
