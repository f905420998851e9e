// Observation of notifications.
#pragma once

#include "host/object_model.h"

#include <functional>

namespace openhost {

/// Sees each notification before its subscribers do, also one without subscribers.
using DispatchObserver = std::function<void(ZALBaseUnknown* publisher, const ZALNotification& notification)>;

/// Replaces the observer; an empty function observes nothing. Returns the one of before.
DispatchObserver ObserveDispatches(DispatchObserver observer);

/// Lets AddCallback subscribe to nothing, and answer 0, until it is taken back.
void RefuseSubscriptions(bool refuse);

} // namespace openhost
