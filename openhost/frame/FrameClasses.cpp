#include "openhost/objects/MetaClassOperations.h"

#include "host/frame.h"

OPENHOST_META_CLASS(ZALWorkbenchChanged, ZALNotification)

ZALApplicationFrame::ZALApplicationFrame() = default;

ZALApplicationFrame::~ZALApplicationFrame() = default;

ZALFrmEditor::ZALFrmEditor() = default;

ZALFrmEditor::~ZALFrmEditor() = default;

ZALFrmLayout::ZALFrmLayout() = default;

ZALFrmLayout::~ZALFrmLayout() = default;

ZALWorkbenchChanged::ZALWorkbenchChanged() = default;

ZALWorkbenchChanged::~ZALWorkbenchChanged() = default;
