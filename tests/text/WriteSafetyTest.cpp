// What in-place writing keeps (owner, group, extended attributes, hard links with
// ipwKeepLinks) and what it never leaves behind (a temporary file after a signal, a silent
// failure on a full device).
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "support/TempFolderTest.hpp"
#include "text/TemporaryFiles.hpp"
#include "text/TextFile.hpp"
#include "text/TextFileWriter.hpp"

namespace xylem {

namespace {

class WriteSafety : public test::CyTempFolderTest {
 protected:
  // Everything in the folder but the named files: temporary files left behind.
  std::vector<std::string> strays(std::initializer_list<std::string> Known) const {
    std::vector<std::string> found;
    for (const auto& entry : std::filesystem::directory_iterator(Folder_)) {
      const std::string name = entry.path().filename().string();
      if (std::find(Known.begin(), Known.end(), name) == Known.end()) found.push_back(name);
    }
    return found;
  }
  void save(const std::string& Path, const std::u16string& Text, TyInPlaceWrite Mode) {
    TxTextList list;
    list.LoadFromText__PARALLEL__(Text);
    TyTextFileFormat format;
    format.Newline = u"\n";
    CyTextFileWriter out(Path, format, Mode);
    PutTextList(list, out);
    out.Commit();
  }
};

}  // namespace

TEST_F(WriteSafety, RenameKeepsOwnerGroupModeAndExtendedAttributes) {
  const std::string file = path("doc.xml");
  write(file, "<old/>");
  ASSERT_EQ(chmod(file.c_str(), 0640), 0);
  const bool root = geteuid() == 0;
  if (root) {
    ASSERT_EQ(chown(file.c_str(), 4321, 8765), 0);
  }
  const bool xattrs = setxattr(file.c_str(), "user.xylem", "kept", 4, 0) == 0;
  save(file, u"<new/>", TyInPlaceWrite::ipwRename);
  EXPECT_EQ(read(file), "<new/>");
  struct stat info {};
  ASSERT_EQ(stat(file.c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 07777, 0640u);
  if (root) {
    EXPECT_EQ(info.st_uid, 4321u);
    EXPECT_EQ(info.st_gid, 8765u);
  }
  if (xattrs) {
    char value[16] = {};
    EXPECT_EQ(getxattr(file.c_str(), "user.xylem", value, sizeof value), 4);
    EXPECT_STREQ(value, "kept");
  }
  EXPECT_TRUE(strays({"doc.xml"}).empty());
}

// Renaming gives the path a new file (the other link keeps the old text); keep-links writes
// through the one inode, so every link sees the new text.
TEST_F(WriteSafety, HardLinksFollowTheModeChosen) {
  for (const TyInPlaceWrite mode : {TyInPlaceWrite::ipwRename, TyInPlaceWrite::ipwKeepLinks}) {
    const std::string file = path("doc.xml"), link = path("link.xml");
    std::filesystem::remove(file);
    std::filesystem::remove(link);
    write(file, "<old>a long old text that is longer than the new one</old>");
    ASSERT_EQ(::link(file.c_str(), link.c_str()), 0);
    struct stat before {};
    stat(file.c_str(), &before);
    save(file, u"<new/>", mode);
    struct stat after {};
    stat(file.c_str(), &after);
    EXPECT_EQ(read(file), "<new/>");
    const bool through = mode == TyInPlaceWrite::ipwKeepLinks;
    EXPECT_EQ(read(link),
              through ? "<new/>" : "<old>a long old text that is longer than the new one</old>");
    EXPECT_EQ(before.st_ino == after.st_ino, through);
    EXPECT_TRUE(strays({"doc.xml", "link.xml"}).empty());
    // Growing through the links as well.
    save(file, u"<grown>" + std::u16string(10000, u'x') + u"</grown>", mode);
    EXPECT_EQ(read(file).size(), 10000u + 15u);
    EXPECT_EQ(read(link).size(), through ? 10015u : 58u);
  }
}

TEST_F(WriteSafety, AFullDeviceFailsLoudly) {
  const int full = open("/dev/full", O_WRONLY);
  if (full < 0) GTEST_SKIP() << "no /dev/full";
  TyTextFileFormat format;
  try {
    CyTextFileWriter out(full, "/dev/full", format);
    out.Put(u"<a/>");
    out.Commit();
    ADD_FAILURE() << "no error";
  } catch (const CyException& error) {
    EXPECT_EQ(error.getCode(), kErrorFileWrite);
    EXPECT_NE(std::string(error.what()).find("No space left on device"), std::string::npos);
  }
  close(full);
}

// A process interrupted while a temporary file is open: the file is gone, and the process
// ended by the signal as it would have without the handler.
TEST_F(WriteSafety, InterruptedWritesLeaveNoTemporaryFile) {
  const std::string file = path("doc.xml");
  write(file, "<original/>");
  for (const int signal : {SIGINT, SIGTERM}) {
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      CyTemporaryFiles::RemoveOnSignals();
      TyTextFileFormat format;
      CyTextFileWriter out(file, format);
      out.Put(std::u16string(100000, u'x'));
      raise(signal);
      _exit(0);  // not reached
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == signal) << status;
    EXPECT_EQ(read(file), "<original/>");
    EXPECT_TRUE(strays({"doc.xml"}).empty());
  }
}

}  // namespace xylem
