#pragma once
// The base protocol of the Language Server Protocol: messages framed by a "Content-Length"
// header, read from and written to byte streams (standard input and output in the server).

#include <cstddef>
#include <functional>
#include <initializer_list>
#include <istream>
#include <mutex>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace xylem::lsp {

enum class TyReadStatus : uint8_t {
  rsMessage,   // Body holds one message's content
  rsEnd,       // the stream ended (between messages or inside one)
  rsOversize,  // a message over the limit; Body is empty, getLength its size; its content
               // is skipped by the next Read
  rsBadHeader  // a header block without a usable Content-Length; skipped up to its blank line
};

// Reads framed messages one at a time. Headers other than Content-Length are ignored; header
// names are matched without regard to case. Never throws on bad input and never reads more
// than the limit into memory. Not thread-safe: one reader per stream.
class CyMessageReader {
 public:
  // MaxLength: the largest content accepted, in bytes.
  CyMessageReader(std::istream& In, size_t MaxLength) : In_(In), MaxLength_(MaxLength) {}
  // Reads the next message into Body (reused; grows to the largest message). Blocks.
  TyReadStatus Read(std::string& Body);
  // The content length of the last message read or skipped.
  size_t getLength() const { return Length_; }
  size_t getMaxLength() const { return MaxLength_; }

 private:
  std::istream& In_;
  size_t MaxLength_;
  size_t Length_ = 0;
  size_t SkipLeft_ = 0;
  std::string Line_;
};

// A part of a message body that writes itself in bounded chunks, so that a big result (full
// semantic tokens) is never held as one text. getLength is exact and known before writing,
// as the header needs it.
class IyBodyPart {
 public:
  virtual ~IyBodyPart() = default;
  virtual size_t getLength() const = 0;
  // Passes the part's bytes to Sink in order, in chunks; they total getLength(). Called once
  // per message, on the writing thread, with the writer's lock held.
  virtual void WriteTo(const std::function<void(std::string_view)>& Sink) const = 0;
};

// Writes framed messages. Thread-safe: a message is written as one unit and flushed.
class CyMessageWriter {
 public:
  explicit CyMessageWriter(std::ostream& Out) : Out_(Out) {}
  void Write(std::string_view Body);
  // Writes one message whose body is the concatenation of Parts (no copy of a big body).
  void Write(std::initializer_list<std::string_view> Parts);
  void Write(const std::vector<std::string_view>& Parts);
  // Writes one message whose body is Head, Middle's chunks and Tail. Raises
  // CyShouldNeverHappenException when Middle wrote another length than it announced (the
  // stream is broken then).
  void Write(std::string_view Head, const IyBodyPart& Middle, std::string_view Tail);

 private:
  template <typename TyParts>
  void WriteParts(const TyParts& Parts);

  std::ostream& Out_;
  std::mutex Mutex_;
};

}  // namespace xylem::lsp
