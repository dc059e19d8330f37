#include "lsp/Transport.hpp"

#include <algorithm>
#include <cctype>
#include <charconv>

#include "common/Exception.hpp"

namespace xylem::lsp {

namespace {

bool StartsWithNoCase(std::string_view Text, std::string_view Prefix) {
  if (Text.size() < Prefix.size()) return false;
  for (size_t i = 0; i < Prefix.size(); ++i)
    if (std::tolower(static_cast<unsigned char>(Text[i])) !=
        std::tolower(static_cast<unsigned char>(Prefix[i])))
      return false;
  return true;
}

// Reads one header line without its "\r\n" (a bare "\n" is accepted too). Lines are capped so
// a stream of bytes without line ends cannot grow memory: the rest of a long line is dropped.
bool ReadHeaderLine(std::istream& In, std::string& Line) {
  constexpr size_t kMaxHeaderLine = 4096;
  Line.clear();
  int c;
  while ((c = In.get()) != std::char_traits<char>::eof()) {
    if (c == '\n') {
      if (!Line.empty() && Line.back() == '\r') Line.pop_back();
      return true;
    }
    if (Line.size() < kMaxHeaderLine) Line.push_back(static_cast<char>(c));
  }
  return false;
}

}  // namespace

TyReadStatus CyMessageReader::Read(std::string& Body) {
  Body.clear();
  if (SkipLeft_ > 0) {
    // The content of a message over the limit, skipped in blocks after it was reported.
    char Block[8192];
    while (SkipLeft_ > 0) {
      In_.read(Block, static_cast<std::streamsize>(std::min(SkipLeft_, sizeof Block)));
      if (In_.gcount() == 0) return TyReadStatus::rsEnd;
      SkipLeft_ -= static_cast<size_t>(In_.gcount());
    }
  }
  bool HaveLength = false;
  bool BadLength = false;
  bool AnyHeader = false;
  size_t Length = 0;
  for (;;) {
    if (!ReadHeaderLine(In_, Line_)) return TyReadStatus::rsEnd;
    if (Line_.empty()) {
      if (!AnyHeader) continue;  // stray blank lines between messages
      break;
    }
    AnyHeader = true;
    constexpr std::string_view kName = "content-length:";
    if (StartsWithNoCase(Line_, kName)) {
      std::string_view Value(Line_);
      Value.remove_prefix(kName.size());
      while (!Value.empty() && (Value.front() == ' ' || Value.front() == '\t'))
        Value.remove_prefix(1);
      while (!Value.empty() && (Value.back() == ' ' || Value.back() == '\t'))
        Value.remove_suffix(1);
      auto [End, Error] = std::from_chars(Value.data(), Value.data() + Value.size(), Length);
      HaveLength = Error == std::errc() && End == Value.data() + Value.size() && !Value.empty();
      BadLength = !HaveLength;
    }
  }
  if (!HaveLength || BadLength) return TyReadStatus::rsBadHeader;
  Length_ = Length;
  if (Length > MaxLength_) {
    SkipLeft_ = Length;
    return TyReadStatus::rsOversize;
  }
  Body.resize(Length);
  In_.read(Body.data(), static_cast<std::streamsize>(Length));
  if (static_cast<size_t>(In_.gcount()) != Length) {
    Body.clear();
    return TyReadStatus::rsEnd;
  }
  return TyReadStatus::rsMessage;
}

void CyMessageWriter::Write(std::string_view Body) { Write({Body}); }

void CyMessageWriter::Write(std::initializer_list<std::string_view> Parts) { WriteParts(Parts); }

void CyMessageWriter::Write(const std::vector<std::string_view>& Parts) { WriteParts(Parts); }

void CyMessageWriter::Write(std::string_view Head, const IyBodyPart& Middle,
                            std::string_view Tail) {
  const size_t Length = Middle.getLength();
  std::lock_guard Lock(Mutex_);
  Out_ << "Content-Length: " << Head.size() + Length + Tail.size() << "\r\n\r\n";
  Out_.write(Head.data(), static_cast<std::streamsize>(Head.size()));
  size_t Written = 0;
  Middle.WriteTo([this, &Written](std::string_view Chunk) {
    Out_.write(Chunk.data(), static_cast<std::streamsize>(Chunk.size()));
    Written += Chunk.size();
  });
  Out_.write(Tail.data(), static_cast<std::streamsize>(Tail.size()));
  Out_.flush();
  if (Written != Length)
    throw CyShouldNeverHappenException("A streamed message body differs from its length.");
}

template <typename TyParts>
void CyMessageWriter::WriteParts(const TyParts& Parts) {
  size_t Length = 0;
  for (std::string_view Part : Parts) Length += Part.size();
  std::lock_guard Lock(Mutex_);
  Out_ << "Content-Length: " << Length << "\r\n\r\n";
  for (std::string_view Part : Parts)
    Out_.write(Part.data(), static_cast<std::streamsize>(Part.size()));
  Out_.flush();
}

}  // namespace xylem::lsp
