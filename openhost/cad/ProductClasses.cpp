#include "openhost/objects/MetaClassOperations.h"

#include "host/cad.h"

OPENHOST_META_CLASS(ZALIProduct, ZALBaseUnknown)
OPENHOST_META_CLASS(ZALIAlias, ZALBaseUnknown)
OPENHOST_META_CLASS(ZALIMovable, ZALBaseUnknown)
OPENHOST_META_CLASS(ZALIPrdGhost, ZALBaseUnknown)
OPENHOST_META_CLASS(ZALIAApplication, ZALBaseUnknown)
OPENHOST_META_CLASS(ZALIAProduct, ZALBaseUnknown)
OPENHOST_META_CLASS(ZALIAProducts, ZALBaseUnknown)
OPENHOST_META_CLASS(ZALINameServerAccess, ZALBaseUnknown)

ZALIProduct::ZALIProduct() = default;
ZALIProduct::~ZALIProduct() = default;

ZALIAlias::ZALIAlias() = default;
ZALIAlias::~ZALIAlias() = default;
ZALIMovable::ZALIMovable() = default;
ZALIMovable::~ZALIMovable() = default;

ZALIPrdGhost::ZALIPrdGhost() = default;
ZALIPrdGhost::~ZALIPrdGhost() = default;

ZALIADocument::ZALIADocument() = default;
ZALIADocument::~ZALIADocument() = default;

ZALIADocuments::ZALIADocuments() = default;
ZALIADocuments::~ZALIADocuments() = default;

ZALIAApplication::ZALIAApplication() = default;
ZALIAApplication::~ZALIAApplication() = default;

ZALIAProduct::ZALIAProduct() = default;
ZALIAProduct::~ZALIAProduct() = default;

ZALIAProducts::ZALIAProducts() = default;
ZALIAProducts::~ZALIAProducts() = default;

ZALDocument::ZALDocument() = default;
ZALDocument::~ZALDocument() = default;

ZALNameServerEntry::ZALNameServerEntry() = default;
ZALNameServerEntry::~ZALNameServerEntry() = default;

ZALNameServerEntries::ZALNameServerEntries() = default;
ZALNameServerEntries::~ZALNameServerEntries() = default;

ZALNameServer::ZALNameServer() = default;
ZALNameServer::~ZALNameServer() = default;

ZALINameServerAccess::ZALINameServerAccess() = default;
ZALINameServerAccess::~ZALINameServerAccess() = default;
