// The message reader: framing, resynchronisation after bad headers, the size limit, and
// reading whatever comes in arbitrary pieces.
#include "lsp/Transport.hpp"

#include <gtest/gtest.h>

#include <sstream>

namespace xylem::lsp {
namespace {

std::string Frame(const std::string& Body) {
  return "Content-Length: " + std::to_string(Body.size()) + "\r\n\r\n" + Body;
}

struct TyRead {
  TyReadStatus Status;
  std::string Body;
  bool operator==(const TyRead&) const = default;
};

std::vector<TyRead> ReadAll(const std::string& Input, size_t Limit) {
  std::istringstream In(Input);
  CyMessageReader Reader(In, Limit);
  std::vector<TyRead> Result;
  std::string Body;
  for (;;) {
    const TyReadStatus Status = Reader.Read(Body);
    Result.push_back({Status, Body});
    if (Status == TyReadStatus::rsEnd) return Result;
  }
}

TEST(MessageReader, FramesHeadersLimitsAndEnds) {
  using enum TyReadStatus;
  struct TyRow {
    std::string Input;
    std::vector<TyRead> Expected;
  };
  const TyRow kRows[] = {
      {Frame("{}") + Frame("[1]"), {{rsMessage, "{}"}, {rsMessage, "[1]"}, {rsEnd, ""}}},
      // Other headers, any case, a bare "\n" line end, spaces around the number.
      {"content-type: x\r\nCONTENT-LENGTH:  2 \n\n{}", {{rsMessage, "{}"}, {rsEnd, ""}}},
      // A header block without a length is reported and the next message still read.
      {"Content-Type: x\r\n\r\n" + Frame("1"), {{rsBadHeader, ""}, {rsMessage, "1"}, {rsEnd, ""}}},
      {"Content-Length: -3\r\n\r\n" + Frame("2"),
       {{rsBadHeader, ""}, {rsMessage, "2"}, {rsEnd, ""}}},
      {"Content-Length: 99999999999999999999999\r\n\r\n", {{rsBadHeader, ""}, {rsEnd, ""}}},
      // Over the limit: reported, its content skipped.
      {Frame("0123456789") + Frame("ok"), {{rsOversize, ""}, {rsMessage, "ok"}, {rsEnd, ""}}},
      // Cut short inside a header or a body.
      {"Content-Len", {{rsEnd, ""}}},
      {"Content-Length: 5\r\n\r\nab", {{rsEnd, ""}}},
      {"\r\n\r\n" + Frame("x"), {{rsMessage, "x"}, {rsEnd, ""}}},
  };
  for (const TyRow& Row : kRows) EXPECT_EQ(ReadAll(Row.Input, 8), Row.Expected) << Row.Input;
}

TEST(MessageWriter, WritesWhatTheReaderReads) {
  std::ostringstream Out;
  CyMessageWriter Writer(Out);
  const std::vector<std::string> Bodies = {"{}", std::string(10000, 'x'), "", "\u00e9\r\n"};
  for (const std::string& Body : Bodies) Writer.Write(Body);
  std::vector<TyRead> Expected;
  for (const std::string& Body : Bodies) Expected.push_back({TyReadStatus::rsMessage, Body});
  Expected.push_back({TyReadStatus::rsEnd, ""});
  EXPECT_EQ(ReadAll(Out.str(), 1 << 20), Expected);
}

// A body part that writes its text in chunks of a given size, announcing Claimed bytes.
class CyChunkedPart : public IyBodyPart {
 public:
  CyChunkedPart(std::string Text, size_t Chunk, size_t Claimed)
      : Text_(std::move(Text)), Chunk_(Chunk), Claimed_(Claimed) {}
  size_t getLength() const override { return Claimed_; }
  void WriteTo(const std::function<void(std::string_view)>& Sink) const override {
    for (size_t At = 0; At < Text_.size(); At += Chunk_)
      Sink(std::string_view(Text_).substr(At, Chunk_));
  }

 private:
  std::string Text_;
  size_t Chunk_;
  size_t Claimed_;
};

// A streamed body frames as the same text written whole; a part that writes another length
// than it announced is our own fault and raised.
TEST(MessageWriter, StreamedBodiesFrameAsTheirText) {
  std::ostringstream Out;
  CyMessageWriter Writer(Out);
  const std::string Middle = std::string(5000, 'y') + "z";
  for (const size_t Chunk : {size_t{1}, size_t{64}, size_t{100000}})
    Writer.Write("[", CyChunkedPart(Middle, Chunk, Middle.size()), "]");
  Writer.Write("", CyChunkedPart("", 1, 0), "");
  std::vector<TyRead> Expected(3, {TyReadStatus::rsMessage, "[" + Middle + "]"});
  Expected.push_back({TyReadStatus::rsMessage, ""});
  Expected.push_back({TyReadStatus::rsEnd, ""});
  EXPECT_EQ(ReadAll(Out.str(), 1 << 20), Expected);
  EXPECT_ANY_THROW(Writer.Write("{", CyChunkedPart("abc", 2, 4), "}"));
}

}  // namespace
}  // namespace xylem::lsp
