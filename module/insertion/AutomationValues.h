// Values of the automation interfaces, freed at the end of their scope.
#pragma once

#include "host/cad.h"

/// A text; null until it is set.
class AutomationText {
public:
    AutomationText() = default;
    AutomationText(const AutomationText&) = delete;
    AutomationText& operator=(const AutomationText&) = delete;
    ~AutomationText() { ZALFreeString(text_); }
    /// Set once.
    void Set(const ZALUnicodeString& text) { text_ = ConvertToBSTR(text); }
    ZALBSTR Get() const { return text_; }

private:
    ZALBSTR text_ = nullptr;
};

/// An array of texts; empty until it is set.
class AutomationTexts {
public:
    AutomationTexts() = default;
    AutomationTexts(const AutomationTexts&) = delete;
    AutomationTexts& operator=(const AutomationTexts&) = delete;
    ~AutomationTexts() { FreeVariantSafeArray(array_); }
    /// Set once.
    void Set(const ZALListValZALUnicodeString& texts) { BuildSafeArrayVariant(texts, array_); }
    const ZALVariant& Get() const { return array_; }

private:
    ZALVariant array_;
};
