// velmart-item-maker: makes items of STEP files and documents. The catalogue starts it and hands it jobs over a socket.

#include "catalogue/sources/SourceItem.h"
#include "openhost/geometry_process/AnswerJobs.h"

#include <cstdlib>

int main()
{
    openhost::AnswerJobs([](char, const std::string& bytes) {
        return catalogue::MakeItem(catalogue::SourceJob::Decode(bytes)).Encode();
    });
    return EXIT_SUCCESS;
}
