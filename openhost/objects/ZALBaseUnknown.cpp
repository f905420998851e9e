#include "openhost/objects/ClassDictionary.h"
#include "openhost/objects/ObjectLinks.h"

#include <algorithm>
#include <new>

ZALBaseUnknown::ZALBaseUnknown() = default;

ZALBaseUnknown::~ZALBaseUnknown()
{
    if (links_)
        ZALObjectLinks::Drop(this);
}

void* ZALBaseUnknown::operator new(std::size_t size)
{
    return ::operator new(size);
}

void ZALBaseUnknown::operator delete(void* memory) noexcept
{
    ::operator delete(memory);
}

unsigned int ZALBaseUnknown::AddRef()
{
    return ++references_;
}

unsigned int ZALBaseUnknown::Release()
{
    const unsigned int left = --references_;
    if (left == 0) {
        // Before the destructors: a reference that one of them takes must not end the object again.
        ZALObjectLinks::EmptyWeakReferences(this);
        delete this;
    }
    return left;
}

HRESULT ZALBaseUnknown::QueryInterface(ZALClassId interfaceName, ZALBaseUnknown** result)
{
    if (!result)
        return E_INVALIDARG;
    *result = nullptr;
    if (!interfaceName)
        return E_INVALIDARG;
    if (IsAKindOf(interfaceName)) {
        AddRef();
        *result = this;
        return S_OK;
    }
    if (ZALBaseUnknown* implementation = GetImpl(0); implementation != this)
        return implementation->QueryInterface(interfaceName, result);
    if (ZALAdapterFunction adapt = openhost::ClassDictionary::Instance().FindAdapter(GetMetaObject(), interfaceName))
        *result = adapt(this);
    return *result ? S_OK : E_FAIL;
}

ZALBaseUnknown* ZALBaseUnknown::GetImpl(int)
{
    return this;
}

ZALClassId ZALBaseUnknown::ClassId()
{
    return MetaObject()->GetClassId();
}

const char* ZALBaseUnknown::ClassName()
{
    return "ZALBaseUnknown";
}

ZALMetaClass* ZALBaseUnknown::MetaObject()
{
    static ZALMetaClass* record =
        fct_RetrieveMetaObject(ClassName(), ZALMetaImplementation, nullptr, "ZALNull", "openhost");
    return record;
}

ZALMetaClass* ZALBaseUnknown::GetMetaObject() const
{
    return MetaObject();
}

const char* ZALBaseUnknown::IsA() const
{
    return ClassName();
}

int ZALBaseUnknown::IsAKindOf(const char* className) const
{
    return MetaObject()->IsAKindOf(className);
}

// ---------------------------------------------------------------------------------------------
// Links

ZALObjectLinks& ZALObjectLinks::Of(ZALBaseUnknown* object)
{
    if (!object->links_)
        object->links_ = new ZALObjectLinks;
    return *object->links_;
}

ZALObjectLinks* ZALObjectLinks::Find(const ZALBaseUnknown* object)
{
    return object ? object->links_ : nullptr;
}

void ZALObjectLinks::Drop(ZALBaseUnknown* object)
{
    ZALObjectLinks& links = *object->links_;
    openhost::DropSubscriptions(links);
    for (const Adapter& linked : links.adapters)
        if (ZALObjectLinks* other = Find(linked.adapter))
            std::erase(other->implementations, object);
    for (ZALBaseUnknown* implementation : links.implementations)
        if (ZALObjectLinks* other = Find(implementation))
            std::erase_if(other->adapters, [&](const Adapter& linked) { return linked.adapter == object; });
    EmptyWeakReferences(object);
    delete object->links_;
    object->links_ = nullptr;
}

void ZALObjectLinks::EmptyWeakReferences(ZALBaseUnknown* object)
{
    ZALObjectLinks* links = Find(object);
    if (!links || !links->cell)
        return;
    links->cell->object = nullptr;
    ReleaseCell(std::exchange(links->cell, nullptr));
}

ZALWeakCell* ZALObjectLinks::ShareCell(ZALBaseUnknown* object)
{
    if (!object)
        return nullptr;
    ZALObjectLinks& links = Of(object);
    if (!links.cell)
        links.cell = new ZALWeakCell{object, 1};
    ++links.cell->holders;
    return links.cell;
}

void ZALObjectLinks::ReleaseCell(ZALWeakCell* cell)
{
    if (cell && --cell->holders == 0)
        delete cell;
}

ZALBaseUnknown_WR::ZALBaseUnknown_WR(ZALBaseUnknown* object) : cell_(ZALObjectLinks::ShareCell(object)) {}

ZALBaseUnknown_WR::ZALBaseUnknown_WR(const ZALBaseUnknown_WR& other) : cell_(other.cell_)
{
    if (cell_)
        ++cell_->holders;
}

ZALBaseUnknown_WR& ZALBaseUnknown_WR::operator=(const ZALBaseUnknown_WR& other)
{
    ZALBaseUnknown_WR copy(other);
    std::swap(cell_, copy.cell_);
    return *this;
}

ZALBaseUnknown_WR& ZALBaseUnknown_WR::operator=(ZALBaseUnknown* object)
{
    ZALWeakCell* cell = ZALObjectLinks::ShareCell(object);
    ZALObjectLinks::ReleaseCell(cell_);
    cell_ = cell;
    return *this;
}

ZALBaseUnknown_WR::~ZALBaseUnknown_WR()
{
    ZALObjectLinks::ReleaseCell(cell_);
}

ZALBaseUnknown* ZALBaseUnknown_WR::GetComponent() const
{
    if (!cell_ || !cell_->object)
        return nullptr;
    cell_->object->AddRef();
    return cell_->object;
}

ZALBaseUnknown* ZALSysGetLinkedAdapter(ZALBaseUnknown* implementation, ZALClassId interfaceName)
{
    const ZALObjectLinks* links = ZALObjectLinks::Find(implementation);
    if (!links || !interfaceName)
        return nullptr;
    for (const ZALObjectLinks::Adapter& linked : links->adapters)
        if (linked.interfaceName == interfaceName) {
            linked.adapter->AddRef();
            return linked.adapter;
        }
    return nullptr;
}

void ZALSysLinkAdapter(ZALBaseUnknown* implementation, ZALClassId interfaceName, ZALBaseUnknown* adapter)
{
    if (!implementation || !interfaceName || !adapter)
        return;
    ZALObjectLinks& links = ZALObjectLinks::Of(adapter);
    links.implementations.push_back(implementation);
    try {
        ZALObjectLinks::Of(implementation).adapters.push_back({interfaceName, adapter});
    } catch (...) {
        links.implementations.pop_back();
        throw;
    }
}
