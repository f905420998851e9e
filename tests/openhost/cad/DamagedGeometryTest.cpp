// Damaged boundary representations in the program of the solid kernel: each job comes to an end, with a result or with
// a reason that a user can read.

#include "openhost/geometry/ShapeGeometry.h"
#include "openhost/geometry_process/GeometryProcess.h"

#include <BRepPrimAPI_MakeCylinder.hxx>
#include <TopoDS_Shape.hxx>
#include <gtest/gtest.h>

#include <chrono>
#include <random>
#include <string>

namespace openhost::testing {

namespace {

/// `boundary` with some of its bytes changed.
std::string Damage(std::string boundary, std::mt19937& random)
{
    for (std::mt19937::result_type count = 1 + random() % 4; count > 0; --count) {
        char& byte = boundary[random() % boundary.size()];
        const char values[] = {'\0', '\x7F', '\x80', '\xFF', static_cast<char>(byte ^ (1 << random() % 8))};
        byte = values[random() % std::size(values)];
    }
    return boundary;
}

TEST(DamagedGeometry, EndsEachJobInItsTimeWithAReadableReason)
{
    constexpr std::chrono::seconds limit(2);
    GeometryProcess process(FindProgramBeside("openhost-geometry"), {.time = limit});
    const std::string boundary = EncodeShape(BRepPrimAPI_MakeCylinder(10, 20).Shape()).boundary;
    std::mt19937 random(1); // the same damage each time
    int refused = 0;
    for (int turn = 0; turn < 100; ++turn) {
        const std::string damaged = Damage(boundary, random);
        const GeometryJob jobs[] = {GeometryJob::Copy, GeometryJob::Check, GeometryJob::Measure,
                                    GeometryJob::Tessellate};
        const auto begin = std::chrono::steady_clock::now();
        try {
            process.Run(jobs[turn % 4], damaged);
        } catch (const GeometryJobError& error) {
            ++refused;
            const std::string reason = error.what();
            EXPECT_NE("", reason) << turn;
            EXPECT_EQ(std::string::npos, reason.find('\n')) << turn << ": " << reason;
            EXPECT_EQ(std::string::npos, reason.find("0x")) << turn << ": " << reason;
        }
        // A job whose process ends is done once more.
        EXPECT_LT(std::chrono::steady_clock::now() - begin, 10 * limit) << turn;
    }
    EXPECT_GT(refused, 10) << "most damage is found";
}

} // namespace

} // namespace openhost::testing
