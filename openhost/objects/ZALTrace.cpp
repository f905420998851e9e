#include "openhost/objects/ClassDictionary.h"
#include "openhost/objects/Traces.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <sstream>
#include <utility>

namespace {

struct TraceState {
    int active = 0;
    std::string output;
};

struct TraceRegistry {
    std::map<std::string, TraceState> traces; // nodes stay where they are: trace objects point into them
    bool all = false;
    openhost::TraceOutput redirection;

    bool BeginsActive(const std::string& name) const
    {
        const char* names = std::getenv("OPENHOST_TRACES");
        if (all || !names)
            return all;
        std::istringstream list(names);
        for (std::string item; std::getline(list, item, ',');)
            if (item == "*" || item == name)
                return true;
        return false;
    }
};

TraceRegistry& Registry()
{
    static auto& registry = *new TraceRegistry;
    return registry;
}

} // namespace

namespace openhost {

void SwitchTraces(bool on)
{
    Registry().all = on;
    for (auto& [name, state] : Registry().traces)
        state.active = on;
}

void SwitchTraces(const std::string& name, bool on)
{
    Registry().traces[name].active = on;
}

void RedirectTraces(TraceOutput output)
{
    Registry().redirection = std::move(output);
}

} // namespace openhost

ZALTrace::ZALTrace(const char* name, const char* description, int mode, const char* output, int size) : name_(name)
{
    TraceRegistry& registry = Registry();
    const auto [state, added] = registry.traces.try_emplace(name);
    if (added)
        state->second.active = registry.BeginsActive(name);
    state->second.output = output;
    Activation = &state->second.active;
    openhost::ClassDictionary::Instance().Note("trace", name,
                                               std::string(description) + ", " + std::to_string(mode) + ", " + output +
                                                   ", " + std::to_string(size));
}

ZALTrace::~ZALTrace() = default;

void ZALTrace::TraPut(const char* text)
{
    const TraceRegistry& registry = Registry();
    if (registry.redirection) {
        registry.redirection(name_, text);
        return;
    }
    const std::string& output = registry.traces.at(name_).output;
    if (output == "STDERR") {
        std::fputs(text, stderr);
        return;
    }
    if (std::FILE* file = std::fopen(output.c_str(), "ab")) {
        std::fputs(text, file);
        std::fclose(file);
    }
}
