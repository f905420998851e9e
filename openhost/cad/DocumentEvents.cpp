#include "openhost/cad/DocumentEvents.h"

#include "openhost/cad/LoadedDocument.h"
#include "openhost/journal/Events.h"

#include <utility>

namespace openhost {

namespace {

/// As the journal calls it; null for what it is not told.
const char* NameOf(DocumentAction action)
{
    switch (action) {
    case DocumentAction::Opened:
        return "opened";
    case DocumentAction::Activated:
        return "activated";
    case DocumentAction::Changed:
        return "changed";
    case DocumentAction::Saved:
        return "saved";
    case DocumentAction::Closed:
        return "closed";
    case DocumentAction::Loaded:
    case DocumentAction::Unloaded:
        break;
    }
    return nullptr;
}

} // namespace

DocumentSubscription DocumentEvents::Subscribe(DocumentObserver observer)
{
    std::erase_if(observers_, [](const auto& known) { return known.expired(); });
    auto subscription = std::make_shared<const DocumentObserver>(std::move(observer));
    observers_.push_back(subscription);
    return subscription;
}

void DocumentEvents::Tell(LoadedDocument& document, DocumentAction action)
{
    if (const char* name = NameOf(action))
        journal::Write([&] { return journal::Document{.path = document.Path().string(), .action = name}; });
    TellObservers(document, action);
}

void DocumentEvents::TellChange(LoadedDocument& document, const char* name)
{
    journal::Write([&] { return journal::Document{.path = document.Path().string(), .action = name}; });
    TellObservers(document, DocumentAction::Changed);
}

void DocumentEvents::TellObservers(LoadedDocument& document, DocumentAction action)
{
    // A copy, since a call may subscribe others. One that ends meanwhile is not called any more.
    const auto observers = observers_;
    for (const auto& known : observers)
        if (const DocumentSubscription observer = known.lock())
            (*observer)(document, action);
}

} // namespace openhost
