// A document that the session has loaded.
#pragma once

#include "host/cad.h"
#include "openhost/cad/SessionProduct.h"
#include "openhost/documents/CadDocument.h"

#include <cstddef>
#include <filesystem>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace openhost {

class CadSession;

/// Changed by CadSession alone. Geometry stays in the file.
class LoadedDocument : public ZALDocument {
public:
    LoadedDocument(CadSession& session, std::filesystem::path path, CadDocument contents);
    ~LoadedDocument() override;

    /// The session that has the document loaded; null once it has let go of it.
    CadSession* Session() const { return session_; }
    const std::filesystem::path& Path() const { return path_; }
    DocumentKind Kind() const { return contents_.kind; }
    const std::string& PartNumber() const { return contents_.partNumber; }
    /// Whether the document differs from its file.
    bool IsDirty() const { return dirty_; }
    /// Whether the document has a window of its own; otherwise programs or others that refer to it hold it.
    bool IsOpen() const { return open_; }
    /// Null once the session has let go of the document.
    SessionProduct* Root() const { return root_; }
    /// In the order of the file.
    const std::vector<SessionProduct*>& Children() const { return children_; }

    HRESULT AddRefForLock() override;
    HRESULT ReleaseForLock(int mode) override;
    ZALUnicodeString StorageName() override;

private:
    friend class CadSession;
    CadSession* session_;
    std::filesystem::path path_;
    CadDocument contents_; ///< without children, links and geometry, which stand below or in the file
    bool dirty_ = false;
    bool open_ = false;
    unsigned int opens_ = 0; ///< by programs, that none of them has ended
    unsigned int locks_ = 0;
    SessionProduct* root_ = nullptr;
    std::vector<SessionProduct*> children_;
    std::vector<std::string> looseLinks_;                         ///< links of the file that no child uses
    std::unordered_set<std::string> childNames_;                  ///< names of the children
    std::unordered_map<std::string, unsigned int> nextNumber_;    ///< of new children, by the name before it
    std::unordered_map<LoadedDocument*, std::size_t> fathers_;    ///< with the number of instances in each
    std::unordered_map<LoadedDocument*, std::size_t> references_; ///< of the children, with the number of each
};

} // namespace openhost
