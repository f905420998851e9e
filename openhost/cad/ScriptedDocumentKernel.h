// A document kernel whose documents are written in a test.
#pragma once

#include "openhost/cad/DocumentKernel.h"

#include <map>
#include <string>
#include <vector>

namespace openhost {

/// What is wrong with a scripted document.
enum class DocumentFault {
    None,
    RootFails,      ///< the root storage cannot be opened
    RootIsNull,     ///< opening it succeeds and gives null
    StorageMissing, ///< there is no storage ZALOR1
    ManagerMissing, ///< no link manager is made
    SymbolsMissing, ///< the link manager lacks ZALIPointedSymbols
    QueryFails,     ///< the query appends the pointed documents and fails
};

/// A document of a test.
struct ScriptedDocument {
    std::vector<std::string> pointed; ///< paths of the documents that it points to
    DocumentFault fault = DocumentFault::None;
};

/// Knows the documents that were set and no others. The calls on it are noted in order, by the names of the
/// host's operations: "OpenRootStg <file name>", "OpenStorage <name>", "CreateDocLinkManager",
/// "GetPointedDocuments", "Close <file name or name>".
class ScriptedDocumentKernel : public DocumentKernel {
public:
    ScriptedDocumentKernel();
    ~ScriptedDocumentKernel() override;

    /// Sets the document `path`. A path without a folder stands for a document of that name in any folder.
    void SetDocument(const std::string& path, ScriptedDocument document);
    const std::vector<std::string>& Calls() const;
    /// Number of storages and link managers that nobody has released.
    int LivingObjects() const;

    HRESULT OpenRoot(const ZALUnicodeString& path, ZALStorage** storage) override;
    ZALBaseUnknown* CreateLinkManager(ZALStorage& storage) override;

    /// What the objects of a kernel share with it; they may outlive it.
    struct Record {
        std::vector<std::string> calls;
        int livingObjects = 0;
    };

private:
    const ScriptedDocument* Find(const std::string& path) const;
    std::map<std::string, ScriptedDocument> documents_;
    std::shared_ptr<Record> record_;
};

} // namespace openhost
