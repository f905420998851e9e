#include "openhost/files/Md5.h"
#include "openhost/files/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <fstream>
#include <system_error>

namespace {

std::string SumOf(const std::string& content)
{
    const openhost::TemporaryFolder folder;
    std::ofstream(folder.Path() / "a", std::ios::binary) << content;
    return openhost::Md5OfFile(folder.Path() / "a");
}

TEST(Md5, GivesTheSumsOfTheStandard)
{
    EXPECT_EQ("d41d8cd98f00b204e9800998ecf8427e", SumOf(""));
    EXPECT_EQ("900150983cd24fb0d6963f7d28e17f72", SumOf("abc"));
    EXPECT_EQ("f96b697d7cb7938d525a2f31aaf161d0", SumOf("message digest"));
}

TEST(Md5, ReadsFilesOfManyPieces)
{
    EXPECT_EQ("7707d6ae4e027c70eea2a935c2296f21", SumOf(std::string(1'000'000, 'a')));
}

TEST(Md5, FailsForWhatCannotBeRead)
{
    const openhost::TemporaryFolder folder;
    EXPECT_THROW(openhost::Md5OfFile(folder.Path() / "missing"), std::system_error);
    EXPECT_THROW(openhost::Md5OfFile(folder.Path()), std::system_error);
}

} // namespace
