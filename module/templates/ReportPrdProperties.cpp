#include "templates/ReportPrdProperties.h"

#include "host/parameters.h"
#include "host/part_features.h"
#include "host/system.h"
#include "traces/ZALVelmartIntegrationDebug.h"

HRESULT ReportPrdProperties(const ZALIProduct_var& sourceProduct, const ZALIProduct_var& templateProduct,
                            const PropertyList& properties)
{
    const ZALIPrdProperties_var source(sourceProduct);
    const ZALIPrdProperties_var target(templateProduct);
    if (!source || !target)
        return E_INVALIDARG;

    ZALUnicodeString partNumber;
    ZALUnicodeString nomenclature;
    ZALUnicodeString description;
    source->GetPartNumber(partNumber);
    source->GetNomenclature(nomenclature);
    source->GetDescription(description);

    ZALListValZALBaseUnknown_var sourceParameters;
    if (const ZALIParmPublisher_var publisher = source->GetUserProperties(ZALPublisherAsItIs))
        publisher->GetDirectChildren(ZALICkeParm::ClassName(), sourceParameters);

    target->SetPartNumber(partNumber);
    target->SetNomenclature(nomenclature);
    const HRESULT result = target->SetDescription(description);

    const ZALIParmPublisher_var publisher = target->GetUserProperties(ZALPublisherCreate);
    if (!publisher)
        return result;

    ZALListValZALUnicodeString ReportedNames;
    ZALListValZALBaseUnknown_var ownParameters;
    publisher->GetDirectChildren(ZALICkeParm::ClassName(), ownParameters);
    for (int index = 1; index <= ownParameters.Size(); ++index)
        if (const ZALICkeParm_var parameter(ownParameters[index]); parameter)
            ReportedNames.Append(parameter->GetName());

    const ZALISpecObject_var feature(target);
    const ZALICkeParmFactory_var factory(feature ? feature->GetFeatContainer() : ZALBaseUnknown_var());
    if (!factory)
        return result;

    for (const auto& [name, value] : properties) {
        if (ReportedNames.Locate(name) > 0) {
            VL_TRACE("ReportPrdProperties - Property name already exists: " << name);
            continue;
        }
        const ZALICkeParm_var created = factory->CreateString(name, value);
        VL_TRACE("ReportPrdProperties - Add Property - name: " << name << " - value: " << value);
        publisher->Append(ZALBaseUnknown_var(created));
        ReportedNames.Append(name);
    }

    static const bool NoReportUserProp = [] {
        // Whether the variable exists counts, not its value.
        ZALUnicodeString value;
        return SUCCEEDED(ZALGetEnv("ZAL_VELMART_NO_REPORT_USERPROP", value));
    }();

    for (int index = 1; index <= sourceParameters.Size(); ++index) {
        const ZALICkeParm_var parameter(sourceParameters[index]);
        if (!parameter)
            continue;
        const ZALUnicodeString name = parameter->GetName();
        // The supplier goes over in any case: this is meant.
        if (NoReportUserProp && name.Compare("supplier") == ZALTextsDiffer)
            continue;
        if (ReportedNames.Locate(name) > 0) {
            VL_TRACE("ReportPrdProperties - Property name already exists: " << name);
            continue;
        }
        const ZALICkeType_var type = parameter->GetType();
        if (!type || !type->IsText()) {
            VL_TRACE("ReportPrdProperties - WARNING : Property type not supported for " << name);
            continue;
        }
        const ZALICkeInst_var value = parameter->GetValue();
        if (!value)
            continue;

        const ZALUnicodeString text = value->GetText();
        const ZALICkeParm_var created = factory->CreateString(name, text);
        VL_TRACE("ReportPrdProperties - Report Property - name: " << name << " - value: " << text);
        publisher->Append(ZALBaseUnknown_var(created));
        ReportedNames.Append(name);
    }
    return result;
}
