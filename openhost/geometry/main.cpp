// openhost-geometry: the program of the solid kernel. A host starts it and hands it jobs over a socket.

#include "openhost/geometry/RunGeometryJob.h"
#include "openhost/geometry_process/AnswerJobs.h"

#include <cstdlib>
#include <utility>

int main()
{
    openhost::AnswerJobs([](char job, std::string boundary) {
        return openhost::RunGeometryJob(static_cast<openhost::GeometryJob>(job), std::move(boundary),
                                        openhost::TellProgress);
    });
    return EXIT_SUCCESS;
}
