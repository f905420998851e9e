// Light files through the host view.

#include "openhost/cad/LvrWriter.h"

#include <gtest/gtest.h>

namespace openhost::testing {

namespace {

class Recorder : public LvrWriter {
public:
    int Write(const ZALRep& representation, const std::string& path) override
    {
        written = &representation;
        place = path;
        return result;
    }
    int result = 0;
    const ZALRep* written = nullptr;
    std::string place;
};

class LightFiles : public ::testing::Test {
protected:
    LightFiles() { before_ = LvrWriter::Install(nullptr); }
    ~LightFiles() override
    {
        LvrWriter::Install(std::move(before_));
        representation_->Release();
    }
    Recorder& InstallRecorder()
    {
        auto recorder = std::make_unique<Recorder>();
        Recorder& installed = *recorder;
        LvrWriter::Install(std::move(recorder));
        return installed;
    }

    std::unique_ptr<LvrWriter> before_;
    ZALRep* representation_ = new ZALRep;
};

TEST_F(LightFiles, CannotBeWrittenWithoutAWriter)
{
    EXPECT_NE(ZALWriteLvr(representation_, "/a.lvr", ZALLvrWholeDisplay, nullptr, 0, ZALLvrInOneFile), 0);
}

TEST_F(LightFiles, AreWrittenByTheWriter)
{
    Recorder& recorder = InstallRecorder();
    EXPECT_EQ(0, ZALWriteLvr(representation_, "/\u00E4.lvr", ZALLvrWholeDisplay, nullptr, 0, ZALLvrInOneFile));
    EXPECT_EQ(recorder.written, representation_);
    EXPECT_EQ("/\u00E4.lvr", recorder.place);
    recorder.result = 3;
    EXPECT_EQ(3, ZALWriteLvr(representation_, "/a", ZALLvrWholeDisplay, nullptr, 0, ZALLvrInOneFile));
}

TEST_F(LightFiles, TakeNoOtherSettings)
{
    const Recorder& recorder = InstallRecorder();
    EXPECT_NE(ZALWriteLvr(nullptr, "/a", ZALLvrWholeDisplay, nullptr, 0, ZALLvrInOneFile), 0);
    EXPECT_NE(ZALWriteLvr(representation_, nullptr, ZALLvrWholeDisplay, nullptr, 0, ZALLvrInOneFile), 0);
    EXPECT_NE(ZALWriteLvr(representation_, "/a", ZALSettingLvr{6}, nullptr, 0, ZALLvrInOneFile), 0);
    EXPECT_NE(ZALWriteLvr(representation_, "/a", ZALLvrWholeDisplay, nullptr, 1, ZALLvrInOneFile), 0);
    EXPECT_NE(ZALWriteLvr(representation_, "/a", ZALLvrWholeDisplay, nullptr, 0, ZALVizLVRAccessMode{0}), 0);
    EXPECT_EQ(nullptr, recorder.written);
}

} // namespace

} // namespace openhost::testing
