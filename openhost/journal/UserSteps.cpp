#include "openhost/journal/UserSteps.h"

#include <utility>

namespace openhost {

namespace {

StepSink& CurrentSink()
{
    static StepSink sink;
    return sink;
}

} // namespace

StepSink RedirectUserSteps(StepSink sink)
{
    return std::exchange(CurrentSink(), std::move(sink));
}

void NoteUserStep(const nlohmann::ordered_json& step)
{
    if (const StepSink& sink = CurrentSink())
        sink(step);
}

void NoteUserAnswer(const std::string& dialog, int button)
{
    NoteUserStep({{"answer", {{"dialog", dialog}, {"button", button}}}});
}

} // namespace openhost
