#include "openhost/cad/History.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace openhost {

bool History::HasState(const LoadedDocument& document, bool withFeatures) const
{
    return inStep_ && std::ranges::any_of(steps_.back().states, [&](const DocumentState& state) {
               return state.document == &document && (state.part || !withFeatures);
           });
}

bool History::Add(const char* name, DocumentState state)
{
    references_.reset();
    const bool begins = !inStep_;
    if (begins) {
        Drop(steps_.begin() + static_cast<std::ptrdiff_t>(done_), steps_.end());
        steps_.push_back({name, {}});
        done_ = steps_.size();
        inStep_ = true;
    }
    // Features may change after other things: the state of before has none of them then, and gets them here.
    std::vector<DocumentState>& states = steps_.back().states;
    const auto known = std::ranges::find(states, state.document, &DocumentState::document);
    if (known != states.end())
        known->part = std::move(state.part);
    else
        states.push_back(std::move(state));
    return begins;
}

void History::EndStep()
{
    if (!std::exchange(inStep_, false))
        return;
    std::size_t children = 0;
    auto kept = steps_.end();
    while (kept != steps_.begin()) {
        for (const DocumentState& state : std::prev(kept)->states)
            children += state.children.size();
        const bool isLast = kept == steps_.end();
        if (!isLast && (children > MaximumChildren || steps_.end() - kept >= static_cast<std::ptrdiff_t>(MaximumSteps)))
            break;
        --kept;
    }
    done_ -= static_cast<std::size_t>(kept - steps_.begin());
    Drop(steps_.begin(), kept);
}

void History::SetUndone()
{
    --done_;
    references_.reset();
}

void History::SetRedone()
{
    ++done_;
    references_.reset();
}

bool History::Forget(const LoadedDocument& document)
{
    bool found = false;
    for (std::size_t index = steps_.size(); index > 0; --index) {
        HistoryStep& step = steps_[index - 1];
        const auto state = std::ranges::find(step.states, &document, &DocumentState::document);
        if (state == step.states.end())
            continue;
        found = true;
        Release(*state);
        step.states.erase(state);
        if (!step.states.empty())
            continue;
        if (index == steps_.size())
            inStep_ = false;
        if (index <= done_)
            --done_;
        steps_.erase(steps_.begin() + static_cast<std::ptrdiff_t>(index - 1));
    }
    return found;
}

void History::Rename(const std::string& from, const std::string& to)
{
    for (DocumentState* state : ReferringTo(from))
        for (DocumentState::Child& child : state->children)
            if (child.reference == from)
                child.reference = to;
    references_.reset();
}

std::vector<DocumentState*> History::StatesOf(const LoadedDocument& document)
{
    std::vector<DocumentState*> states;
    for (HistoryStep& step : steps_)
        for (DocumentState& state : step.states)
            if (state.document == &document)
                states.push_back(&state);
    return states;
}

std::vector<DocumentState*> History::ReferringTo(const std::string& path)
{
    std::vector<DocumentState*> states;
    for (HistoryStep& step : steps_)
        for (DocumentState& state : step.states)
            if (std::ranges::find(state.children, path, &DocumentState::Child::reference) != state.children.end())
                states.push_back(&state);
    return states;
}

bool History::RefersTo(const std::string& path) const
{
    if (!references_) {
        references_.emplace();
        for (const HistoryStep& step : steps_)
            for (const DocumentState& state : step.states)
                for (const DocumentState::Child& child : state.children)
                    references_->insert(child.reference);
    }
    return references_->contains(path);
}

std::vector<std::string> History::TakeReleased()
{
    return std::exchange(released_, {});
}

void History::Drop(Steps::iterator first, Steps::iterator last)
{
    for (auto step = first; step != last; ++step)
        for (const DocumentState& state : step->states)
            Release(state);
    steps_.erase(first, last);
}

void History::Release(const DocumentState& state)
{
    references_.reset();
    for (const DocumentState::Child& child : state.children)
        if (!child.reference.empty())
            released_.push_back(child.reference);
    std::ranges::sort(released_);
    const auto doubled = std::unique(released_.begin(), released_.end());
    released_.erase(doubled, released_.end());
}

} // namespace openhost
