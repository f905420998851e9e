// Properties and user parameters of products. Used on the user-interface thread. Operations give handles, which hold
// their own reference.
//
// A user parameter is made by the factory and then added to the publisher of its product:
//   1. ZALIPrdProperties of the product gives the publisher.
//   2. ZALISpecObject of the same object gives the container, which offers ZALICkeParmFactory.
//   3. What the factory makes is appended to the publisher.
#pragma once

#include "object_model.h"
#include "text.h"

/// The type of a parameter: text, length, integer or boolean.
class ZALICkeType : public ZALBaseUnknown {
public:
    ZALICkeType();
    ~ZALICkeType() override;
    /// Whether values are texts.
    virtual bool IsText() = 0;

    ZAL_DECLARE_META_CLASS
};

using ZALICkeType_var = ZALInterfaceHandle<ZALICkeType>;

/// The value of a parameter.
class ZALICkeInst : public ZALBaseUnknown {
public:
    ZALICkeInst();
    ~ZALICkeInst() override;
    /// The value as the user reads it; of a text the text itself.
    virtual ZALUnicodeString GetText() = 0;

    ZAL_DECLARE_META_CLASS
};

using ZALICkeInst_var = ZALInterfaceHandle<ZALICkeInst>;

/// A parameter. Names need not be unique.
class ZALICkeParm : public ZALBaseUnknown {
public:
    ZALICkeParm();
    ~ZALICkeParm() override;
    virtual ZALUnicodeString GetName() = 0;
    /// A null handle for a parameter whose type is not known.
    virtual ZALICkeType_var GetType() = 0;
    /// A null handle for a parameter that has no value.
    virtual ZALICkeInst_var GetValue() = 0;

    ZAL_DECLARE_META_CLASS
};

using ZALICkeParm_var = ZALInterfaceHandle<ZALICkeParm>;

/// Offered by containers of features.
class ZALICkeParmFactory : public ZALBaseUnknown {
public:
    ZALICkeParmFactory();
    ~ZALICkeParmFactory() override;
    /// A parameter of type text that stands below no publisher yet; a null handle on failure.
    virtual ZALICkeParm_var CreateString(const ZALUnicodeString& name, const ZALUnicodeString& value) = 0;

    ZAL_DECLARE_META_CLASS
};

using ZALICkeParmFactory_var = ZALInterfaceHandle<ZALICkeParmFactory>;

/// What parameters stand below.
class ZALIParmPublisher : public ZALBaseUnknown {
public:
    ZALIParmPublisher();
    ~ZALIParmPublisher() override;
    /// Appends the direct children of the class `className`, such as ZALICkeParm::ClassName(), in the order in which
    /// they were appended.
    virtual HRESULT GetDirectChildren(const char* className, ZALListValZALBaseUnknown_var& children) = 0;
    /// Adds `child` after the others.
    virtual HRESULT Append(const ZALBaseUnknown_var& child) = 0;

    ZAL_DECLARE_META_CLASS
};

using ZALIParmPublisher_var = ZALInterfaceHandle<ZALIParmPublisher>;

/// Values for the flag of ZALIPrdProperties::GetUserProperties.
inline constexpr int ZALPublisherAsItIs = 0;
inline constexpr int ZALPublisherCreate = 1;

/// What a product says about itself. Offered by products; of an instance they are those of its reference.
class ZALIPrdProperties : public ZALBaseUnknown {
public:
    ZALIPrdProperties();
    ~ZALIPrdProperties() override;

    /// The three text properties. A read that fails leaves its output alone, a write that fails the property.
    virtual HRESULT GetPartNumber(ZALUnicodeString& value) = 0;
    virtual HRESULT SetPartNumber(const ZALUnicodeString& value) = 0;
    virtual HRESULT GetNomenclature(ZALUnicodeString& value) = 0;
    virtual HRESULT SetNomenclature(const ZALUnicodeString& value) = 0;
    virtual HRESULT GetDescription(ZALUnicodeString& value) = 0;
    virtual HRESULT SetDescription(const ZALUnicodeString& value) = 0;

    /// The publisher of the product's user parameters. ZALPublisherAsItIs gives a null handle for a product without
    /// one, ZALPublisherCreate makes one, and gives a null handle when that fails.
    virtual ZALIParmPublisher_var GetUserProperties(int creation) = 0;

    ZAL_DECLARE_META_CLASS
};

using ZALIPrdProperties_var = ZALInterfaceHandle<ZALIPrdProperties>;
