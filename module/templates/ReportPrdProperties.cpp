#include "templates/ReportPrdProperties.h"

#include "host/parameters.h"
#include "host/part_features.h"
#include "host/system.h"
#include "traces/ZALVelmartIntegrationDebug.h"

namespace {

/// Whether user properties other than the supplier stay behind. Settled at the first use in the process.
bool AreUserPropertiesLeftOut()
{
    static const bool NoReportUserProp = [] {
        // Whether the variable exists counts, not its value.
        ZALUnicodeString value;
        return SUCCEEDED(ZALGetEnv("ZAL_VELMART_NO_REPORT_USERPROP", value));
    }();
    return NoReportUserProp;
}

/// Adds text parameters to a product, each name once: what is there first stays.
class ParameterReport {
public:
    ParameterReport(const ZALIParmPublisher_var& publisher, const ZALICkeParmFactory_var& factory,
                    const ZALListValZALUnicodeString& names)
        : publisher_(publisher), factory_(factory), ReportedNames(names)
    {
    }

    void Add(const PropertyList& properties)
    {
        for (const auto& [name, value] : properties)
            if (!IsReported(name)) {
                const ZALICkeParm_var created = factory_->CreateString(name, value);
                VL_TRACE("ReportPrdProperties - Add Property - name: " << name << " - value: " << value);
                Append(created, name);
            }
    }

    void Add(const ZALICkeParm_var& parameter)
    {
        const ZALUnicodeString name = parameter->GetName();
        // The supplier goes over in any case: it is not the user's own.
        if (areUserPropertiesLeftOut_ && name.Compare("supplier") == ZALTextsDiffer)
            return;
        if (IsReported(name))
            return;
        const ZALICkeType_var type = parameter->GetType();
        if (!type || !type->IsText()) {
            VL_TRACE("ReportPrdProperties - WARNING : Property type not supported for " << name);
            return;
        }
        const ZALICkeInst_var value = parameter->GetValue();
        if (!value)
            return;

        const ZALUnicodeString text = value->GetText();
        const ZALICkeParm_var created = factory_->CreateString(name, text);
        VL_TRACE("ReportPrdProperties - Report Property - name: " << name << " - value: " << text);
        Append(created, name);
    }

private:
    bool IsReported(const ZALUnicodeString& name)
    {
        const bool isReported = ReportedNames.Locate(name) > 0;
        if (isReported)
            VL_TRACE("ReportPrdProperties - Property name already exists: " << name);
        return isReported;
    }

    void Append(const ZALICkeParm_var& created, const ZALUnicodeString& name)
    {
        publisher_->Append(ZALBaseUnknown_var(created));
        ReportedNames.Append(name);
    }

    const ZALIParmPublisher_var& publisher_;
    const ZALICkeParmFactory_var& factory_;
    ZALListValZALUnicodeString ReportedNames;
    const bool areUserPropertiesLeftOut_ = AreUserPropertiesLeftOut();
};

/// The names of the parameters that `publisher` has.
ZALListValZALUnicodeString ParameterNames(const ZALIParmPublisher_var& publisher)
{
    ZALListValZALBaseUnknown_var parameters;
    publisher->GetDirectChildren(ZALICkeParm::ClassName(), parameters);
    ZALListValZALUnicodeString names;
    for (int index = 1; index <= parameters.Size(); ++index)
        if (const ZALICkeParm_var parameter(parameters[index]); parameter)
            names.Append(parameter->GetName());
    return names;
}

} // namespace

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

    const ZALListValZALUnicodeString names = ParameterNames(publisher);

    const ZALISpecObject_var feature(target);
    const ZALICkeParmFactory_var factory(feature ? feature->GetFeatContainer() : ZALBaseUnknown_var());
    if (!factory)
        return result;

    ParameterReport report(publisher, factory, names);
    report.Add(properties);
    for (int index = 1; index <= sourceParameters.Size(); ++index)
        if (const ZALICkeParm_var parameter(sourceParameters[index]); parameter)
            report.Add(parameter);
    return result;
}
