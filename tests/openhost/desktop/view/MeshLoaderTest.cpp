// Meshes that come by themselves.

#include "openhost/desktop/view/MeshLoader.h"

#include "openhost/files/TemporaryFolder.h"
#include "openhost/geometry/ShapeGeometry.h"
#include "tests/openhost/desktop/view/TestMeshes.h"
#include "tests/support/Places.h"

#include <BRepPrimAPI_MakeBox.hxx>
#include <TopoDS_Shape.hxx>

#include <QThread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <fstream>
#include <future>
#include <map>

#include <sys/stat.h>
#include <sys/wait.h>

namespace openhost::testing {

namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

BoundarySource Text(std::string bytes)
{
    return BoundaryOf(std::make_shared<const std::string>(std::move(bytes)));
}

class MeshLoading : public ::testing::Test {
protected:
    ~MeshLoading() override
    {
        loader_.reset();
        EXPECT_EQ(-1, waitpid(-1, nullptr, WNOHANG)) << "a process is left";
        EXPECT_EQ(ECHILD, errno);
    }

    void Use(std::filesystem::path program, const GeometryJobLimits& limits = {})
    {
        loader_ = std::make_unique<MeshLoader>(std::move(program), limits);
        QObject::connect(loader_.get(), &MeshLoader::Loaded,
                         [this](const MeshKey& key, const std::shared_ptr<const ShownMesh>& mesh) {
                             EXPECT_EQ(QCoreApplication::instance()->thread(), QThread::currentThread());
                             loaded_[key] = mesh;
                         });
        QObject::connect(loader_.get(), &MeshLoader::Failed,
                         [this](const MeshKey& key, const QString& reason) { failed_[key] = reason.toStdString(); });
    }
    void UseReal() { Use(BuildDir() + "/bin/openhost-geometry"); }
    /// A program that takes jobs and never answers.
    void UseEndless(const GeometryJobLimits& limits = {})
    {
        const std::filesystem::path program = folder_.Path() / "endless";
        std::ofstream(program) << "#!/bin/sh\nexec sleep 1000\n";
        chmod(program.c_str(), 0700);
        Use(program, limits);
    }
    bool Finish()
    {
        return Until([this] { return loader_->Pending() == 0; });
    }
    static std::string BoxBytes() { return EncodeBoundary(BRepPrimAPI_MakeBox(10, 20, 30).Shape()); }

    int count_ = 1;
    char name_[5] = "test";
    char* arguments_[2] = {name_, nullptr};
    QCoreApplication application_{count_, arguments_};
    TemporaryFolder folder_;
    std::unique_ptr<MeshLoader> loader_;
    std::map<MeshKey, std::shared_ptr<const ShownMesh>> loaded_;
    std::map<MeshKey, std::string> failed_;
};

TEST_F(MeshLoading, GivesTheMeshOfBytesAndOfAFile)
{
    UseReal();
    CadDocument part;
    part.partNumber = "BOX";
    part.geometry = EncodeShape(BRepPrimAPI_MakeBox(10, 20, 30).Shape());
    const std::filesystem::path path = folder_.Path() / "box.ZALPart";
    WriteDocument(part, path);

    loader_->Load("bytes", Text(BoxBytes()));
    loader_->Load("file", BoundaryOf(path));
    EXPECT_EQ(2U, loader_->Pending());
    ASSERT_TRUE(Finish());
    EXPECT_THAT(failed_, IsEmpty());
    for (const char* key : {"bytes", "file"}) {
        ASSERT_TRUE(loaded_[key]) << key;
        EXPECT_EQ(30, loaded_[key]->box.Extent(2)) << key;
        EXPECT_EQ(12U, loaded_[key]->details.front().edges.size()) << key;
    }
}

TEST_F(MeshLoading, TellsWhyThereIsNoMesh)
{
    UseReal();
    std::string damaged = BoxBytes();
    damaged.resize(damaged.size() / 2);
    loader_->Load("damaged", Text(damaged));
    loader_->Load("text", Text("no shape"));
    loader_->Load("missing", BoundaryOf(folder_.Path() / "missing.ZALPart"));
    CadDocument empty;
    empty.partNumber = "EMPTY";
    WriteDocument(empty, folder_.Path() / "empty.ZALPart");
    loader_->Load("empty", BoundaryOf(folder_.Path() / "empty.ZALPart"));
    loader_->Load("box", Text(BoxBytes()));
    ASSERT_TRUE(Finish());
    EXPECT_NE("", failed_["damaged"]);
    EXPECT_NE("", failed_["text"]);
    EXPECT_THAT(failed_["missing"], HasSubstr("missing.ZALPart"));
    EXPECT_EQ("the part has no geometry", failed_["empty"]);
    EXPECT_EQ(4U, failed_.size());
    EXPECT_TRUE(loaded_["box"]) << "the others do not suffer";
}

TEST_F(MeshLoading, AProgramThatIsMissingOrEndsIsAReason)
{
    Use("/missing/program");
    loader_->Load("part", Text("bytes"));
    ASSERT_TRUE(Finish());
    EXPECT_THAT(failed_["part"], HasSubstr("/missing/program"));
    Use("/bin/true");
    loader_->Load("part", Text("bytes"));
    ASSERT_TRUE(Finish());
    EXPECT_THAT(failed_["part"], HasSubstr("crashed"));
}

TEST_F(MeshLoading, WhatTakesTooLongIsAReason)
{
    UseEndless({.time = 200ms});
    loader_->Load("part", Text("bytes"));
    ASSERT_TRUE(Finish());
    EXPECT_THAT(failed_["part"], HasSubstr("too long"));
}

TEST_F(MeshLoading, AnAnswerThatIsNoMeshIsAReason)
{
    Use(BuildDir() + "/bin/test_geometry_program");
    loader_->Load("part", Text("bytes"));
    ASSERT_TRUE(Finish());
    EXPECT_THAT(failed_["part"], HasSubstr("light representation"));
}

TEST_F(MeshLoading, WhatIsDroppedIsNotReportedAndInterrupted)
{
    UseEndless();
    std::atomic<int> started = 0;
    const auto source = [&started] {
        ++started;
        return std::string("bytes");
    };
    for (const char* key : {"a", "b", "c", "d", "e", "f"})
        loader_->Load(key, source);
    ASSERT_TRUE(Until([&] { return started > 0; }));
    loader_->DropAll();
    EXPECT_EQ(0U, loader_->Pending());

    // The workers are free again: otherwise they would be busy for a minute.
    const int before = started;
    loader_->Load("again", source);
    EXPECT_TRUE(Until([&] { return started > before; }));
    EXPECT_THAT(loaded_, IsEmpty());
    EXPECT_THAT(failed_, IsEmpty());
}

TEST_F(MeshLoading, TheEndIsQuickWhileJobsRun)
{
    UseEndless();
    std::atomic<int> started = 0;
    for (const char* key : {"a", "b", "c", "d", "e", "f"})
        loader_->Load(key, [&started] {
            ++started;
            return std::string("bytes");
        });
    ASSERT_TRUE(Until([&] { return started > 0; }));
    const auto start = std::chrono::steady_clock::now();
    loader_.reset();
    EXPECT_GT(20s, std::chrono::steady_clock::now() - start) << "a job may take a minute";
    QCoreApplication::processEvents();
    EXPECT_THAT(failed_, IsEmpty());
}

TEST_F(MeshLoading, AKeyIsDoneOnceAndTheNewestWishFirst)
{
    Use("/missing/program");
    std::promise<void> promise;
    const std::shared_future<void> released = promise.get_future().share();
    std::mutex mutex;
    std::vector<std::string> order;
    const auto source = [&](const std::string& key) {
        return [&mutex, &order, released, key] {
            {
                const std::lock_guard lock(mutex);
                order.push_back(key);
            }
            released.wait();
            return std::string();
        };
    };
    // All workers wait here.
    const unsigned int workers = std::clamp(std::thread::hardware_concurrency(), 1U, 4U);
    for (unsigned int worker = 0; worker < workers; ++worker) {
        loader_->Load("first " + std::to_string(worker), source("first"));
        ASSERT_TRUE(Until([&] {
            const std::lock_guard lock(mutex);
            return order.size() == worker + 1;
        }));
    }
    std::atomic<int> number = 0;
    std::map<std::string, int> turn;
    const auto noting = [&](const std::string& key) {
        return [&, key] {
            const std::lock_guard lock(mutex);
            EXPECT_FALSE(turn.contains(key)) << key;
            turn[key] = ++number;
            return std::string();
        };
    };
    for (int key = 0; key < 20; ++key)
        loader_->Load(std::to_string(key), noting(std::to_string(key)));
    loader_->Load("0", noting("0"));
    loader_->Load("first 0", noting("first 0"));
    promise.set_value();
    ASSERT_TRUE(Finish());
    EXPECT_EQ(20U, turn.size());
    EXPECT_GT(static_cast<int>(workers) + 1, turn["0"]) << "was asked for last";
    EXPECT_LT(10, turn["1"]) << "was asked for long before";
}

} // namespace

} // namespace openhost::testing
