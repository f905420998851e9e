// What the host keeps of one object besides its count: weak references, subscriptions, adapters.
#pragma once

#include "host/object_model.h"

#include <string>
#include <vector>

/// Shared by the weak references of one object; ends with the last of them and the object.
struct ZALWeakCell {
    ZALBaseUnknown* object;
    unsigned int holders;
};

struct ZALObjectLinks {
    ZALWeakCell* cell = nullptr;
    std::vector<ZALCallback> asPublisher; ///< in the order of subscription
    std::vector<ZALCallback> asSubscriber;
    struct Adapter {
        std::string interfaceName;
        ZALBaseUnknown* adapter;
    };
    std::vector<Adapter> adapters;                ///< linked adapters of this object
    std::vector<ZALBaseUnknown*> implementations; ///< objects that this object is a linked adapter of

    /// The links of `object`, made at first need.
    static ZALObjectLinks& Of(ZALBaseUnknown* object);
    /// The links of `object`, or null.
    static ZALObjectLinks* Find(const ZALBaseUnknown* object);
    /// Ends every link of `object`.
    static void Drop(ZALBaseUnknown* object);
    /// Empties the weak references on `object`.
    static void EmptyWeakReferences(ZALBaseUnknown* object);
    /// A share of the cell of `object`; null for null.
    static ZALWeakCell* ShareCell(ZALBaseUnknown* object);
    static void ReleaseCell(ZALWeakCell* cell);
};

namespace openhost {
/// Ends the subscriptions in `links`, on both sides.
void DropSubscriptions(ZALObjectLinks& links);
} // namespace openhost
