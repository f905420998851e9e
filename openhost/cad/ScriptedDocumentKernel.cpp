#include "openhost/cad/ScriptedDocumentKernel.h"

#include "openhost/cad/PointedSymbols.h"
#include "openhost/text/Utf.h"

#include <algorithm>
#include <utility>

namespace openhost {

namespace {

using Record = ScriptedDocumentKernel::Record;

std::string WithSlashes(std::string path)
{
    std::replace(path.begin(), path.end(), '\\', '/');
    return path;
}

std::string FileName(const std::string& path)
{
    return path.substr(path.rfind('/') + 1);
}

/// Counts an object of the kernel as long as it lives.
class Counted {
public:
    explicit Counted(std::shared_ptr<Record> record) : record_(std::move(record)) { ++record_->livingObjects; }
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;
    ~Counted() { --record_->livingObjects; }
    void Note(const std::string& call) { record_->calls.push_back(call); }
    const std::shared_ptr<Record>& GetRecord() const { return record_; }

private:
    std::shared_ptr<Record> record_;
};

class ScriptedStorage : public ZALStorage {
public:
    ScriptedStorage(std::string name, ScriptedDocument document, std::shared_ptr<Record> record)
        : Name(std::move(name)), Document(std::move(document)), Count(std::move(record))
    {
    }

    HRESULT OpenStorage(const ZALUnicodeString& name, int, ZALStorage** storage) override
    {
        *storage = nullptr;
        Count.Note("OpenStorage " + ToUtf8(name));
        if (ToUtf8(name) != ZALDocumentStorage || Document.fault == DocumentFault::StorageMissing)
            return E_FAIL;
        *storage = new ScriptedStorage(ToUtf8(name), Document, Count.GetRecord());
        return S_OK;
    }

    HRESULT Close(int) override
    {
        Count.Note("Close " + Name);
        return S_OK;
    }

    const std::string Name;
    const ScriptedDocument Document;
    Counted Count;
};

class ScriptedLinkManager : public PointedSymbols {
public:
    ScriptedLinkManager(std::vector<ZALUnicodeString> paths, HRESULT result, std::shared_ptr<Record> record)
        : PointedSymbols(std::move(paths), result), count_(std::move(record))
    {
    }

    HRESULT GetPointedDocuments(ZALListValZALUnicodeString& paths) override
    {
        count_.Note("GetPointedDocuments");
        return PointedSymbols::GetPointedDocuments(paths);
    }

private:
    Counted count_;
};

class BareLinkManager : public ZALBaseUnknown {
public:
    explicit BareLinkManager(std::shared_ptr<Record> record) : count_(std::move(record)) {}

private:
    Counted count_;
};

} // namespace

ScriptedDocumentKernel::ScriptedDocumentKernel() : record_(std::make_shared<Record>()) {}
ScriptedDocumentKernel::~ScriptedDocumentKernel() = default;

void ScriptedDocumentKernel::SetDocument(const std::string& path, ScriptedDocument document)
{
    documents_[WithSlashes(path)] = std::move(document);
}

const std::vector<std::string>& ScriptedDocumentKernel::Calls() const
{
    return record_->calls;
}

int ScriptedDocumentKernel::LivingObjects() const
{
    return record_->livingObjects;
}

const ScriptedDocument* ScriptedDocumentKernel::Find(const std::string& path) const
{
    auto found = documents_.find(path);
    if (found == documents_.end())
        found = documents_.find(FileName(path));
    return found == documents_.end() ? nullptr : &found->second;
}

HRESULT ScriptedDocumentKernel::OpenRoot(const ZALUnicodeString& path, ZALStorage** storage)
{
    const std::string systemPath = WithSlashes(ToUtf8(path));
    record_->calls.push_back("OpenRootStg " + FileName(systemPath));
    const ScriptedDocument* document = Find(systemPath);
    if (!document || document->fault == DocumentFault::RootFails)
        return E_FAIL;
    if (document->fault != DocumentFault::RootIsNull)
        *storage = new ScriptedStorage(FileName(systemPath), *document, record_);
    return S_OK;
}

ZALBaseUnknown* ScriptedDocumentKernel::CreateLinkManager(ZALStorage& storage)
{
    record_->calls.push_back("CreateDocLinkManager");
    const auto* scripted = dynamic_cast<ScriptedStorage*>(&storage);
    if (!scripted || scripted->Document.fault == DocumentFault::ManagerMissing)
        return nullptr;
    if (scripted->Document.fault == DocumentFault::SymbolsMissing)
        return new BareLinkManager(record_);

    std::vector<ZALUnicodeString> paths;
    for (const std::string& path : scripted->Document.pointed)
        paths.emplace_back(path.c_str());
    const HRESULT result = scripted->Document.fault == DocumentFault::QueryFails ? E_FAIL : S_OK;
    return new ScriptedLinkManager(std::move(paths), result, record_);
}

} // namespace openhost
