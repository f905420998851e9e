// Which files count as ones from outside.

#include "ArchiveFixture.h"

#include "openhost/files/AtomicFile.h"
#include "openhost/files/Origin.h"

#include "host/files.h"

#include <sys/xattr.h>

namespace openhost::testing {
namespace {

class Origin : public ArchiveFixture {
protected:
    /// Lets a module write the file `name`.
    std::filesystem::path WriteByModule(const std::string& name) const
    {
        const std::filesystem::path file = Folder() / name;
        ZALFileHandle handle = 0;
        EXPECT_EQ(S_OK, ZALFOpen(Text(file), "wb", handle));
        EXPECT_EQ(S_OK, ZALFClose(handle));
        return file;
    }
};

TEST_F(Origin, FilesOfAnArchiveAreFromOutside)
{
    ExtractAll(ZipBytes().Add("a", "1").Add("sub/b", "2"));
    EXPECT_TRUE(IsFromOutside(Folder() / "a"));
    EXPECT_TRUE(IsFromOutside(Folder() / "sub/b"));
    EXPECT_FALSE(IsFromOutside(Folder() / "sub"));
}

TEST_F(Origin, FilesThatAModuleWritesAreFromOutsideUnderAnyName)
{
    const std::filesystem::path file = WriteByModule("a");
    EXPECT_TRUE(IsFromOutside(file));
    ASSERT_EQ(0, ZALRenameFile(file.c_str(), (Folder() / "b").c_str()));
    EXPECT_TRUE(IsFromOutside(Folder() / "b"));
}

TEST_F(Origin, FilesThatTheHostWritesAreNot)
{
    const std::filesystem::path file = WriteByModule("a");
    WriteFileAtomically(file, "new");
    EXPECT_FALSE(IsFromOutside(file));
    EXPECT_FALSE(IsFromOutside(Folder() / "missing"));
}

TEST_F(Origin, FilesWithTheMarkOfABrowserAreFromOutside)
{
    Put(Folder() / "a", "1");
    // A file system without attributes has no such files.
    const bool isMarked = setxattr((Folder() / "a").c_str(), "user.xdg.origin.url", "x", 1, 0) == 0;
    EXPECT_EQ(isMarked, IsFromOutside(Folder() / "a"));
}

} // namespace
} // namespace openhost::testing
