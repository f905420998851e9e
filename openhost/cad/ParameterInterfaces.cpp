// Properties and user parameters of products as they are offered by query.

#include "host/parameters.h"
#include "openhost/cad/CadWorkspace.h"
#include "openhost/cad/Facet.h"
#include "openhost/cad/FeatureContainer.h"
#include "openhost/cad/WorkspaceOccurrence.h"
#include "openhost/text/Utf.h"

namespace openhost {

namespace {

class ParameterKind : public ZALICkeType {
public:
    explicit ParameterKind(bool isText) : isText_(isText) {}
    bool IsText() override { return isText_; }

private:
    bool isText_;
};

class ParameterValue : public ZALICkeInst {
public:
    explicit ParameterValue(const UserParameter& parameter) : text_(FromUtf8(ParameterText(parameter))) {}
    ZALUnicodeString GetText() override { return text_; }

private:
    ZALUnicodeString text_;
};

/// A parameter as it was when somebody asked for it, or as the factory has made it.
class WorkspaceParameter : public ZALICkeParm {
public:
    explicit WorkspaceParameter(UserParameter parameter) : parameter_(std::move(parameter)) {}
    const UserParameter& Parameter() const { return parameter_; }

    ZALUnicodeString GetName() override { return FromUtf8(parameter_.name); }
    ZALICkeType_var GetType() override
    {
        return ZALICkeType_var::Take(new ParameterKind(std::holds_alternative<std::string>(parameter_.value)));
    }
    ZALICkeInst_var GetValue() override { return ZALICkeInst_var::Take(new ParameterValue(parameter_)); }

private:
    UserParameter parameter_;
};

class ParameterFactory : public Facet<ZALICkeParmFactory, FeatureContainer> {
public:
    using Facet::Facet;
    ZALICkeParm_var CreateString(const ZALUnicodeString& name, const ZALUnicodeString& value) override
    {
        UserParameter parameter{ToUtf8(name), ToUtf8(value)};
        const bool isWritable = !parameter.name.empty() && IsDocumentText(parameter.name) &&
                                IsDocumentText(std::get<std::string>(parameter.value));
        return isWritable ? ZALICkeParm_var::Take(new WorkspaceParameter(std::move(parameter))) : ZALICkeParm_var();
    }
};

/// The parameters of a document.
class ParameterPublisher : public Facet<ZALIParmPublisher, LoadedDocument> {
public:
    using Facet::Facet;

    HRESULT GetDirectChildren(const char* className, ZALListValZALBaseUnknown_var& children) override
    {
        if (!className)
            return E_INVALIDARG;
        for (const UserParameter& parameter : Target().Contents().parameters) {
            const auto child = ZALBaseUnknown_var::Take(new WorkspaceParameter(parameter));
            if (child->IsAKindOf(className))
                children.Append(child);
        }
        return S_OK;
    }

    HRESULT Append(const ZALBaseUnknown_var& child) override
    {
        auto* parameter = child ? dynamic_cast<WorkspaceParameter*>(child->GetImpl(0)) : nullptr;
        if (!parameter)
            return E_INVALIDARG;
        if (!Target().Workspace())
            return E_FAIL;
        Target().Workspace()->Change(Target(), "Add Parameter", [&](CadDocument& contents) {
            contents.parameters.push_back(parameter->Parameter());
        });
        return S_OK;
    }
};

/// The document that `product`, a WorkspaceProduct or a WorkspaceOccurrence, refers to, as long as it is loaded.
LoadedDocument* ReferenceOf(ZALBaseUnknown& product)
{
    const auto* occurrence = dynamic_cast<WorkspaceOccurrence*>(&product);
    const auto* own = occurrence ? &occurrence->Leaf() : dynamic_cast<WorkspaceProduct*>(&product);
    return own ? own->Reference() : nullptr;
}

class PropertiesInterface : public Facet<ZALIPrdProperties, ZALBaseUnknown> {
public:
    using Facet::Facet;

    HRESULT GetPartNumber(ZALUnicodeString& value) override { return Get(&CadDocument::partNumber, value); }
    HRESULT SetPartNumber(const ZALUnicodeString& value) override { return Set(&CadDocument::partNumber, value); }
    HRESULT GetNomenclature(ZALUnicodeString& value) override { return Get(&CadDocument::nomenclature, value); }
    HRESULT SetNomenclature(const ZALUnicodeString& value) override { return Set(&CadDocument::nomenclature, value); }
    HRESULT GetDescription(ZALUnicodeString& value) override { return Get(&CadDocument::description, value); }
    HRESULT SetDescription(const ZALUnicodeString& value) override { return Set(&CadDocument::description, value); }

    /// A document without parameters has no publisher.
    ZALIParmPublisher_var GetUserProperties(int creation) override
    {
        LoadedDocument* document = ReferenceOf(Target());
        if (!document || (creation != ZALPublisherCreate && document->Contents().parameters.empty()))
            return {};
        return ZALIParmPublisher_var::Take(new ParameterPublisher(*document));
    }

private:
    using TextMember = std::string CadDocument::*;

    HRESULT Get(TextMember member, ZALUnicodeString& value) const
    {
        const LoadedDocument* document = ReferenceOf(Target());
        if (!document)
            return E_FAIL;
        value = FromUtf8(document->Contents().*member);
        return S_OK;
    }
    HRESULT Set(TextMember member, const ZALUnicodeString& value)
    {
        LoadedDocument* document = ReferenceOf(Target());
        std::string text = ToUtf8(value);
        if (!document || !IsDocumentText(text))
            return E_FAIL;
        if (text != document->Contents().*member)
            document->Workspace()->Change(*document, "Change Properties",
                                          [&](CadDocument& contents) { contents.*member = std::move(text); });
        return S_OK;
    }
};

/// A product among the features of its document.
class ProductSpecInterface : public Facet<ZALISpecObject, ZALBaseUnknown> {
public:
    using Facet::Facet;
    ZALBaseUnknown_var GetFeatContainer() override
    {
        LoadedDocument* document = ReferenceOf(Target());
        return ZALBaseUnknown_var(document ? document->Features() : nullptr);
    }
    void Update() override
    {
        LoadedDocument* document = ReferenceOf(Target());
        FeatureContainer* container = document ? document->Features() : nullptr;
        if (const ZALISpecObject_var part(container ? container->Part() : nullptr); part)
            part->Update();
    }
};

/// Parameters stand in documents: a container that stands in none makes none.
ZALBaseUnknown* OfferFactory(ZALBaseUnknown* object)
{
    return static_cast<FeatureContainer*>(object)->Document() ? Offer<ParameterFactory, FeatureContainer>(object)
                                                              : nullptr;
}

const ZALFillDictionary Factories("FeatureContainer", "ZALICkeParmFactory", OfferFactory, 0);
const ZALFillDictionary Properties("WorkspaceProduct", "ZALIPrdProperties", Offer<PropertiesInterface, ZALBaseUnknown>,
                                   0);
const ZALFillDictionary OccurrenceProperties("WorkspaceOccurrence", "ZALIPrdProperties",
                                             Offer<PropertiesInterface, ZALBaseUnknown>, 0);
const ZALFillDictionary Specs("WorkspaceProduct", "ZALISpecObject", Offer<ProductSpecInterface, ZALBaseUnknown>, 0);
const ZALFillDictionary OccurrenceSpecs("WorkspaceOccurrence", "ZALISpecObject",
                                        Offer<ProductSpecInterface, ZALBaseUnknown>, 0);

} // namespace

} // namespace openhost
