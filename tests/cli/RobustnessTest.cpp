// The tool as a careful user and an attacker would run it: bytes that do not decode, failed
// writes, special files, in-place metadata and hard links. Every refusal leaves the user's file
// byte for byte as it was.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string>

#include "ToolRunner.hpp"

namespace xylem::cli::test {

namespace {

struct TyBadBytes {
  const char* Name;
  std::string Bytes;
  std::string Where;     // ":LINE:COL: error: " of check's finding
  std::string Position;  // "Line L, position P" of the refusal message
};

const TyBadBytes kBadBytes[] = {
    {"latin1.xml", "<r>caf\xE9</r>\n", ":1:7: error: ", "Line 1, position 7"},
    {"truncated.xml", "<r>\n  \xE2\x82</r>\n", ":2:3: error: ", "Line 2, position 3"},
    {"lone-continuation.xml", "<r>\r\n<a/>\x80</r>", ":2:5: error: ", "Line 2, position 5"},
    {"surrogate.xml", "<r>\xED\xA0\x80</r>", ":1:4: error: ", "Line 1, position 4"},
    {"late.xml", std::string(70000, ' ') + "<r>\xFF</r>",
     ":1:70004: error: ", "Line 1, position 70004"},
};

// Runs Script in sh with $X the tool, for redirections RunTool cannot express (its own come
// last and would win). Returns the exit code of the script's last command; Err its stderr.
int RunScript(const std::string& Script, std::string* Err = nullptr) {
  CyTempFolder io;
  const std::string command =
      std::string("X='") + XYLEM_BINARY + "'; { " + Script + "; } 2>'" + io.Path("stderr") + "'";
  const int status = std::system(command.c_str());
  if (Err) *Err = io.Read("stderr");
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace

// Bytes that do not decode are never turned into U+FFFD: check reports them at the first bad
// byte, every other command refuses with exit code 2 and writes nothing.
TEST(Robustness, UndecodableBytesAreRefusedAtTheFirstBadByte) {
  CyTempFolder folder;
  for (const TyBadBytes& row : kBadBytes) {
    SCOPED_TRACE(row.Name);
    const std::string path = folder.Write(row.Name, row.Bytes);
    const TyToolResult check = RunTool("check '" + path + "'");
    EXPECT_EQ(check.ExitCode, 1) << check.Err;
    EXPECT_EQ(check.Out.rfind(path + row.Where, 0), 0u) << check.Out;
    const TyToolResult json = RunTool("check --report json '" + path + "'");
    EXPECT_EQ(json.ExitCode, 1) << json.Err;
    const TyToolResult piped = RunTool("check -", row.Bytes);
    EXPECT_EQ(piped.ExitCode, 1) << piped.Err;
    EXPECT_EQ(piped.Out.rfind("<stdin>" + row.Where, 0), 0u) << piped.Out;
    for (const char* command :
         {"format", "format -i", "format --in-place-keep-links", "replace r s", "replace -i r s",
          "replace --in-place-keep-links r s", "info", "tokens", "highlight"}) {
      SCOPED_TRACE(command);
      const TyToolResult result = RunTool(std::string(command) + " '" + path + "'");
      EXPECT_EQ(result.ExitCode, 2);
      EXPECT_EQ(result.Out, "");
      EXPECT_NE(result.Err.find(row.Position), std::string::npos) << result.Err;
      EXPECT_TRUE(folder.Read(row.Name) == row.Bytes);
    }
  }
}

// Refusals of a whole file: a UTF-16 text cut in the middle of a code unit and a binary file.
TEST(Robustness, OddUTF16AndBinaryFilesAreNamedWithTheirPosition) {
  CyTempFolder folder;
  const struct {
    const char* Name;
    std::string Bytes;
    std::string Message;
    int CheckExit;
  } rows[] = {
      {"odd.xml", UTF16LEWithMark("<r/>\n") + "x", "lone byte 0x78", 1},
      {"binary.xml", std::string("<r>\n  \0</r>", 11), "does not support binary files", 1},
      {"binary.json", std::string("{\"a\":\n \0}", 9), "does not support binary files", 1},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.Name);
    const std::string path = folder.Write(row.Name, row.Bytes);
    EXPECT_EQ(RunTool("check '" + path + "'").ExitCode, row.CheckExit);
    for (const char* command : {"format -i", "info"}) {
      const TyToolResult result = RunTool(std::string(command) + " '" + path + "'");
      EXPECT_EQ(result.ExitCode, 2) << command;
      EXPECT_NE(result.Err.find(row.Message), std::string::npos) << result.Err;
      EXPECT_TRUE(folder.Read(row.Name) == row.Bytes);
    }
  }
}

// A write that fails is exit code 2 with a message, whatever the command and however it fails.
TEST(Robustness, FailedWritesToStandardOutputAreErrors) {
  CyTempFolder folder;
  const std::string path = folder.Write("doc.xml", "<r a='1'>text</r>\n");
  const std::string broken = folder.Write("broken.xml", "<r>\n</s>\n");
  for (const std::string& command :
       {"check '" + broken + "'", "check --report json '" + broken + "'", "tokens '" + path + "'",
        "highlight '" + path + "'", "format '" + path + "'", "info '" + path + "'",
        "replace text other '" + path + "'"}) {
    for (const char* redirect : {" > /dev/full", " >&-"}) {
      if (std::string(redirect) == " > /dev/full" && access("/dev/full", W_OK) != 0) continue;
      SCOPED_TRACE(command + redirect);
      std::string err;
      EXPECT_EQ(RunScript("\"$X\" " + command + redirect, &err), 2);
      EXPECT_NE(err.find("cannot be written"), std::string::npos) << err;
    }
  }
}

// Standard input and named pipes are streams with a limit; other special files are refused.
TEST(Robustness, StreamsHaveALimitAndDevicesAreRefused) {
  CyTempFolder folder;
  const std::string fifo = folder.Path("pipe.xml");
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  std::string err;
  EXPECT_EQ(
      RunScript("\"$X\" check '" + fifo + "' & printf '<r/>' > '" + fifo + "'; wait $!", &err), 0)
      << err;
  EXPECT_EQ(RunScript("\"$X\" --max-stream-bytes 1M check - < /dev/zero", &err), 2);
  EXPECT_NE(err.find("MaxStreamBytes"), std::string::npos) << err;
  EXPECT_NE(err.find("--max-stream-bytes"), std::string::npos) << err;
  // A pipe, not RunTool's standard input (a regular file is mapped, whatever its size).
  EXPECT_EQ(RunScript("printf '<r>0123456789</r>' | \"$X\" check --max-stream-bytes 10 -", &err),
            2);  // the option after the command too
  EXPECT_NE(err.find("MaxStreamBytes"), std::string::npos) << err;
  EXPECT_EQ(RunScript("printf '<r>0123456789</r>' | \"$X\" --max-stream-bytes 17 check -"), 0);
  for (const std::string& special : {std::string("/dev/null"), std::string("/dev/zero")}) {
    const TyToolResult result = RunTool("check " + special);
    EXPECT_EQ(result.ExitCode, 2) << special;
    EXPECT_NE(result.Err.find("character device"), std::string::npos) << result.Err;
  }
  const TyToolResult folderResult = RunTool("format -i '" + folder.Path("") + "'");
  EXPECT_EQ(folderResult.ExitCode, 2);
}

// In place: owner, group and mode survive; a rename gives the path a new file (a hard link
// keeps the old text), --in-place-keep-links writes through the shared file.
TEST(Robustness, InPlaceKeepsMetadataAndHardLinksAsChosen) {
  CyTempFolder folder;
  const std::string before = "<r>\n<a   x='1'/></r>\n";
  for (const char* mode : {"-i", "--in-place-keep-links"}) {
    SCOPED_TRACE(mode);
    const std::string path = folder.Write("doc.xml", before);
    const std::string link = folder.Path("link.xml");
    unlink(link.c_str());
    ASSERT_EQ(::link(path.c_str(), link.c_str()), 0);
    ASSERT_EQ(chmod(path.c_str(), 0640), 0);
    const bool root = geteuid() == 0;
    if (root) {
      ASSERT_EQ(chown(path.c_str(), 4321, 4322), 0);
    }
    const TyToolResult result = RunTool(std::string("format ") + mode + " '" + path + "'");
    ASSERT_EQ(result.ExitCode, 0) << result.Err;
    const std::string after = folder.Read("doc.xml");
    EXPECT_NE(after, before);
    struct stat info {};
    ASSERT_EQ(stat(path.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0640u);
    if (root) {
      EXPECT_EQ(info.st_uid, 4321u);
      EXPECT_EQ(info.st_gid, 4322u);
    }
    const bool keepLinks = std::string(mode) != "-i";
    EXPECT_EQ(folder.Read("link.xml"), keepLinks ? after : before);
    EXPECT_EQ(info.st_nlink, keepLinks ? 2u : 1u);
    // A refusal through the shared file changes neither name.
    const std::string bad = "<r>\xE9</r>";
    folder.Write("doc.xml", bad);
    EXPECT_EQ(RunTool(std::string("format ") + mode + " '" + path + "'").ExitCode, 2);
    EXPECT_TRUE(folder.Read("doc.xml") == bad);
  }
  const TyToolResult help = RunTool("format --help");
  EXPECT_NE(help.Out.find("--in-place-keep-links"), std::string::npos);
}

// Duplicate attributes are found at any count (the detection is linear, not quadratic).
TEST(Robustness, ManyAttributesAndADuplicateAtTheEnd) {
  CyTempFolder folder;
  std::string distinct = "<r";
  for (int i = 0; i < 200000; ++i) distinct += " a" + std::to_string(i) + "='v'";
  const std::string ok = folder.Write("many.xml", distinct + "/>");
  const std::string dup = folder.Write("dup.xml", distinct + " a199999='w'/>");
  EXPECT_EQ(RunTool("check '" + ok + "'").ExitCode, 0);
  const TyToolResult result = RunTool("check '" + dup + "'");
  EXPECT_EQ(result.ExitCode, 1);
  EXPECT_EQ(std::count(result.Out.begin(), result.Out.end(), '\n'), 1) << result.Out.substr(0, 500);
}

}  // namespace xylem::cli::test
