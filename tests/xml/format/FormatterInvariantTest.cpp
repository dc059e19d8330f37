// Invariants of the formatter over a varied set of documents and every combination of the
// two option sets: formatting twice changes nothing, the content libxml2 sees is unchanged,
// and preserved elements survive byte for byte.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/FormatterTestSupport.hpp"

namespace xylem {

namespace {

using test::ContentOf;
using test::FormatXML;
using test::VariedDocuments;

constexpr uint32_t kVerbatim = 8;

// Formatting twice changes nothing and libxml2 sees the same content, for every formatting
// set in [First, Last) combined with every layout set.
void CheckIdempotentAndContentKeeping(uint32_t First, uint32_t Last) {
  for (const std::string& doc : VariedDocuments()) {
    std::string error;
    const std::string content = ContentOf(doc, &error);
    ASSERT_TRUE(error.empty()) << error << "\n" << doc;
    for (uint32_t formatting = First; formatting < Last; ++formatting) {
      for (uint32_t layout = 0; layout < 32; ++layout) {
        const std::string once = FormatXML(doc, formatting, layout);
        const std::string twice = FormatXML(once, formatting, layout);
        ASSERT_EQ(twice, once) << "options " << formatting << "/" << layout << "\n" << doc;
        ASSERT_EQ(ContentOf(once), content) << "options " << formatting << "/" << layout << "\n"
                                            << doc << "\n---\n"
                                            << once;
      }
    }
  }
}

}  // namespace

// Split in two by xfoRemoveWhitespaceOnlyLines to keep each test short under the sanitizers.
TEST(FormatterInvariant, KeepsContentAndIsIdempotentKeepingBlankLines) {
  CheckIdempotentAndContentKeeping(0, 16);
}

TEST(FormatterInvariant, KeepsContentAndIsIdempotentRemovingBlankLines) {
  CheckIdempotentAndContentKeeping(16, 32);
}

TEST(FormatterInvariant, PreservedElementsSurviveByteForByte) {
  for (const std::string& source : VariedDocuments()) {
    std::string doc;  // line ends as the writer writes them
    for (size_t i = 0; i < source.size(); ++i)
      if (!(source[i] == '\r' && i + 1 < source.size() && source[i + 1] == '\n')) doc += source[i];
    std::vector<std::string> preserved;  // outermost <pre> elements
    for (size_t at = doc.find("<pre>"); at != std::string::npos; at = doc.find("<pre>", at)) {
      size_t end = at + 5;
      for (int depth = 1; depth > 0;) {
        const size_t open = doc.find("<pre>", end), close = doc.find("</pre>", end);
        depth += open < close ? 1 : -1;
        end = (open < close ? open : close) + (open < close ? 5 : 6);
      }
      preserved.push_back(doc.substr(at, end - at));
      at = end;
    }
    for (uint32_t formatting = 0; formatting < 32; ++formatting) {
      for (uint32_t layout = kVerbatim; layout < 32; layout = (layout + 1) | kVerbatim) {
        const std::string out = FormatXML(doc, formatting, layout);
        for (const std::string& p : preserved)
          EXPECT_NE(out.find(p), std::string::npos)
              << p << "\noptions " << formatting << "/" << layout << "\n"
              << out;
      }
    }
  }
}

}  // namespace xylem
