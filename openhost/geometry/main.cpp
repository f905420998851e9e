// openhost-geometry: the program of the solid kernel. A host starts it and hands it jobs over a socket.

#include "openhost/geometry/RunGeometryJob.h"
#include "openhost/geometry_process/AnswerJobs.h"

#include <malloc.h>

#include <cstdlib>
#include <utility>

int main()
{
    // The memory of a job is kept for the next: with fresh pages a light file takes six hundredths longer.
    mallopt(M_TRIM_THRESHOLD, 256 << 20);
    mallopt(M_MMAP_THRESHOLD, 64 << 20);
    openhost::AnswerJobs([](char job, std::string boundary) {
        return openhost::RunGeometryJob(static_cast<openhost::GeometryJob>(job), std::move(boundary),
                                        openhost::TellProgress);
    });
    return EXIT_SUCCESS;
}
