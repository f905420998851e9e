// Everything that is made when the module is loaded: what it registers, its trace object, and the values that it keeps.
// The order of the definitions in this file is the order in which the host sees them, and it is required; no other file
// has load-time initialisers.

#include "dialogs/ZALVelmartMeridiaAccessSettingsUIAddin.h"
#include "events/ZALVelmartIntegrationEventPublisher.h"
#include "events/ZALVelmartIntegrationEventSubscriber.h"
#include "findsimilar/ZALVelmartFindSimilarCmd.h"
#include "panel/TIEZALIMeridiaAccessDialogAddin.h"
#include "panel/ZALVelmartMeridiaAccessAddin.h"
#include "templates/ZALVliTemplateSupportUtilities.h"
#include "traces/ZALVelmartIntegrationDebug.h"

#include <new>

namespace {

// Each of them gives null when memory is out.

ZALBaseUnknown* CreateAddin()
try {
    return new ZALVelmartMeridiaAccessAddin;
} catch (const std::bad_alloc&) {
    return nullptr;
}

ZALBaseUnknown* CreateSettingsAddin()
{
    return CreateBOAZALIMeridiaAccessSettingsUIAddinZALVelmartMeridiaAccessSettingsUIAddin(nullptr);
}

ZALBaseUnknown* CreateEventPublisher()
{
    ZALBaseUnknown* publisher = ZALVelmartIntegrationEventPublisher::GetPrtOnUniqueInstance();
    if (publisher)
        publisher->AddRef();
    return publisher;
}

ZALBaseUnknown* CreateEventSubscriber()
{
    ZALBaseUnknown* subscriber = ZALVelmartIntegrationEventSubscriber::GetUniqueSubscriber();
    if (subscriber)
        subscriber->AddRef();
    return subscriber;
}

// 1. The addin of the panel.
const ZALFillDictionary AddinEntry("ZALVelmartMeridiaAccessAddin", "ZALIMeridiaAccessDialogAddin",
                                   CreateTIEZALIMeridiaAccessDialogAddinZALVelmartMeridiaAccessAddin, 1);
const int AddinCreation = ZALFillDictionary::RegisterFunctionCreation("ZALVelmartMeridiaAccessAddin", CreateAddin);
ZALMetaClass* const AddinRecord = ZALVelmartMeridiaAccessAddin::MetaObject();

// 2. The addin of the panel's settings.
const ZALFillDictionary
    SettingsAddinEntry("ZALVelmartMeridiaAccessSettingsUIAddin", "ZALIMeridiaAccessSettingsUIAddin",
                       CreateBOAZALIMeridiaAccessSettingsUIAddinZALVelmartMeridiaAccessSettingsUIAddin, 1);
const int SettingsAddinCreation =
    ZALFillDictionary::RegisterFunctionCreation("ZALVelmartMeridiaAccessSettingsUIAddin", CreateSettingsAddin);
ZALMetaClass* const SettingsAddinRecord = ZALVelmartMeridiaAccessSettingsUIAddin::MetaObject();

// 3. Find Similar.
const ZALFillDictionary FindSimilarEntry("ZALVelmartFindSimilarCmd", fctCreateZALVelmartFindSimilarCmd);

} // namespace

// 4. The trace object.
ZALTrace ZALVelmartIntegrationDebug::Traces("ZALVelmartIntegration", "ZALVelmartIntegration traces", 0, "STDERR", 1024);

namespace {

// 5. The event singletons.
const int PublisherCreation =
    ZALFillDictionary::RegisterFunctionCreation("ZALVelmartIntegrationEventPublisher", CreateEventPublisher);
const int SubscriberCreation =
    ZALFillDictionary::RegisterFunctionCreation("ZALVelmartIntegrationEventSubscriber", CreateEventSubscriber);

} // namespace

// 6. The paths of the templates that are at hand.
ZALUnicodeString ZALVliTemplateSupportUtilities::StoredPartTemplatePath;
ZALUnicodeString ZALVliTemplateSupportUtilities::StoredProductTemplatePath;
