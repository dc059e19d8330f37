#include "search/RegExprSearcher.hpp"

#define PCRE2_CODE_UNIT_WIDTH 16
#include <pcre2.h>

#include "common/Utf.hpp"

namespace xylem {

namespace {

std::string ErrorMessage(int ErrorCode) {
  PCRE2_UCHAR16 buffer[256];
  const int length =
      pcre2_get_error_message_16(ErrorCode, buffer, sizeof buffer / sizeof buffer[0]);
  if (length < 0) return "unknown error " + std::to_string(ErrorCode);
  return ToUTF8(
      std::u16string_view(reinterpret_cast<const char16_t*>(buffer), static_cast<size_t>(length)));
}

uint32_t NewlineConvention(std::u16string_view Newline) {
  if (Newline == u"\r\n") return PCRE2_NEWLINE_CRLF;
  if (Newline == u"\r") return PCRE2_NEWLINE_CR;
  if (Newline == u"\n") return PCRE2_NEWLINE_LF;
  return PCRE2_NEWLINE_ANYCRLF;
}

}  // namespace

CyRegExprException::CyRegExprException(const std::string& PCRE2Message, int64_t Position)
    : CyException("Regular expression error at position " + std::to_string(Position) + ": " +
                      PCRE2Message + ".",
                  kCode),
      PCRE2Message_(PCRE2Message),
      Position_(Position) {}

std::u16string_view TyRegExprMatch::getGroup(int32_t Number) const {
  if (!isGroupSet(Number)) return {};
  const size_t start = Ovector[2 * Number];
  const size_t end = Ovector[2 * Number + 1];
  // \K in a look-ahead could put the end before the start; such a group reads as empty.
  return end > start ? std::u16string_view(Subject + start, end - start) : std::u16string_view();
}

bool TyRegExprMatch::isGroupSet(int32_t Number) const {
  return Number >= 0 && Number < PairCount && Ovector[2 * Number] != PCRE2_UNSET;
}

CyRegExprSearcher::CyRegExprSearcher(std::u16string_view Pattern, bool CaseSensitive,
                                     std::u16string_view Newline) {
  pcre2_compile_context_16* context = pcre2_compile_context_create_16(nullptr);
  if (context == nullptr) throw CyShouldNeverHappenException("PCRE2 compile context");
  pcre2_set_newline_16(context, NewlineConvention(Newline));
  pcre2_set_bsr_16(context, PCRE2_BSR_ANYCRLF);
  const uint32_t options = PCRE2_UTF | PCRE2_UCP | PCRE2_MULTILINE | PCRE2_MATCH_INVALID_UTF |
                           (CaseSensitive ? 0u : static_cast<uint32_t>(PCRE2_CASELESS));
  int errorCode = 0;
  PCRE2_SIZE errorOffset = 0;
  Code_ = pcre2_compile_16(reinterpret_cast<PCRE2_SPTR16>(Pattern.data()), Pattern.size(), options,
                           &errorCode, &errorOffset, context);
  pcre2_compile_context_free_16(context);
  if (Code_ == nullptr)
    throw CyRegExprException(ErrorMessage(errorCode), static_cast<int64_t>(errorOffset));

  uint32_t captureCount = 0;
  pcre2_pattern_info_16(Code_, PCRE2_INFO_CAPTURECOUNT, &captureCount);
  GroupCount_ = static_cast<int32_t>(captureCount);
  MatchData_ = pcre2_match_data_create_from_pattern_16(Code_, nullptr);
  MatchContext_ = pcre2_match_context_create_16(nullptr);
  // Without JIT (an unsupported machine) the interpreter runs the same pattern.
  JIT_ = pcre2_jit_compile_16(Code_, PCRE2_JIT_COMPLETE | PCRE2_JIT_PARTIAL_HARD) == 0;
  if (JIT_) {
    JITStack_ = pcre2_jit_stack_create_16(32 * 1024, 4 * 1024 * 1024, nullptr);
    pcre2_jit_stack_assign_16(MatchContext_, nullptr, JITStack_);
  }
  if (MatchData_ == nullptr || MatchContext_ == nullptr) {
    Release();
    throw CyShouldNeverHappenException("PCRE2 match data");
  }
  Match_.Ovector = pcre2_get_ovector_pointer_16(MatchData_);
  Match_.PairCount = 0;
}

CyRegExprSearcher::~CyRegExprSearcher() { Release(); }

void CyRegExprSearcher::Release() {
  pcre2_jit_stack_free_16(JITStack_);
  pcre2_match_context_free_16(MatchContext_);
  pcre2_match_data_free_16(MatchData_);
  pcre2_code_free_16(Code_);
  JITStack_ = nullptr;
  MatchContext_ = nullptr;
  MatchData_ = nullptr;
  Code_ = nullptr;
}

TySearchResult CyRegExprSearcher::Find(const char16_t* Subject, int64_t Length, int64_t Start,
                                       bool NotEmptyAtStart, bool NotAtTextStart, bool MoreFollows,
                                       int64_t& MatchStart, int64_t& MatchEnd) {
  if (Start < 0 || Start > Length) return srNone;
  const uint32_t options = (NotEmptyAtStart ? PCRE2_NOTEMPTY_ATSTART : 0u) |
                           (NotAtTextStart ? PCRE2_NOTBOL : 0u) |
                           (MoreFollows ? PCRE2_PARTIAL_HARD : 0u);
  const auto subject = reinterpret_cast<PCRE2_SPTR16>(Subject);
  const int rc =
      JIT_ ? pcre2_jit_match_16(Code_, subject, static_cast<PCRE2_SIZE>(Length),
                                static_cast<PCRE2_SIZE>(Start), options, MatchData_, MatchContext_)
           : pcre2_match_16(Code_, subject, static_cast<PCRE2_SIZE>(Length),
                            static_cast<PCRE2_SIZE>(Start), options | PCRE2_NO_UTF_CHECK,
                            MatchData_, MatchContext_);
  if (rc == PCRE2_ERROR_NOMATCH || rc == PCRE2_ERROR_PARTIAL) {
    Match_.PairCount = 0;
    if (rc == PCRE2_ERROR_NOMATCH) return srNone;
    MatchStart = static_cast<int64_t>(pcre2_get_ovector_pointer_16(MatchData_)[0]);
    MatchEnd = Length;
    return srPartial;
  }
  if (rc < 0)
    throw CyException("Regular expression search failed: " + ErrorMessage(rc) + ".",
                      CyRegExprException::kCode);
  const size_t* ovector = pcre2_get_ovector_pointer_16(MatchData_);
  Match_.Subject = Subject;
  Match_.Ovector = ovector;
  Match_.PairCount = rc == 0 ? static_cast<int32_t>(pcre2_get_ovector_count_16(MatchData_)) : rc;
  MatchStart = static_cast<int64_t>(ovector[0]);
  // \K inside a look-ahead may report an end before the start; treat it as an empty match.
  MatchEnd = ovector[1] > ovector[0] ? static_cast<int64_t>(ovector[1]) : MatchStart;
  return srMatch;
}

std::vector<int32_t> CyRegExprSearcher::getGroupNumbers(std::u16string_view Name) const {
  const std::u16string name(Name);  // PCRE2 wants it NUL-terminated
  const auto key = reinterpret_cast<PCRE2_SPTR16>(name.c_str());
  const int number = pcre2_substring_number_from_name_16(Code_, key);
  if (number >= 0) return {number};
  if (number != PCRE2_ERROR_NOUNIQUESUBSTRING) return {};
  PCRE2_SPTR16 first = nullptr;
  PCRE2_SPTR16 last = nullptr;
  uint32_t entrySize = 0;
  pcre2_pattern_info_16(Code_, PCRE2_INFO_NAMEENTRYSIZE, &entrySize);
  if (pcre2_substring_nametable_scan_16(Code_, key, &first, &last) < 0) return {};
  std::vector<int32_t> numbers;
  for (PCRE2_SPTR16 entry = first; entry <= last; entry += entrySize) numbers.push_back(entry[0]);
  return numbers;
}

}  // namespace xylem
