#include "openhost/objects/MetaClassOperations.h"

#include "host/frame.h"

#include <utility>

OPENHOST_META_CLASS(ZALWorkbenchChanged, ZALNotification)

ZALApplicationFrame::ZALApplicationFrame() = default;

ZALApplicationFrame::~ZALApplicationFrame() = default;

ZALCSO::ZALCSO() = default;

ZALCSO::~ZALCSO()
{
    Empty();
}

void ZALCSO::InitElementList()
{
    next_ = 0;
}

ZALBaseUnknown* ZALCSO::NextElement()
{
    return next_ < elements_.size() ? elements_[next_++] : nullptr;
}

void ZALCSO::AddElement(ZALBaseUnknown* element)
{
    if (!element)
        return;
    element->AddRef();
    elements_.push_back(element);
}

void ZALCSO::Empty()
{
    next_ = 0;
    // Taken out first: an element that ends here may look at the set.
    for (ZALBaseUnknown* element : std::exchange(elements_, {}))
        element->Release();
}

ZALFrmEditor::ZALFrmEditor() = default;

ZALFrmEditor::~ZALFrmEditor() = default;

ZALFrmLayout::ZALFrmLayout() = default;

ZALFrmLayout::~ZALFrmLayout() = default;

ZALWorkbenchChanged::ZALWorkbenchChanged() = default;

ZALWorkbenchChanged::~ZALWorkbenchChanged() = default;
