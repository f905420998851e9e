// A path of a file, as the templates work with it.
#pragma once

#include "host/text.h"

class ZALVliFilePath {
public:
    ZALVliFilePath(const ZALUnicodeString& path);
    ZALVliFilePath(const ZALVliFilePath& other);
    ZALVliFilePath& operator=(const ZALVliFilePath& other);
    virtual ~ZALVliFilePath();

    const ZALUnicodeString& GetPath() const { return Path; }
    /// Joins `name` onto the path.
    void AppendPath(const ZALUnicodeString& name);
    /// Appends a dot and `extension`, which has none of its own.
    void AppendExtension(const ZALUnicodeString& extension);
    /// The extension without its dot.
    ZALUnicodeString GetExtension() const;
    /// The name with its extension, without the folder.
    ZALUnicodeString GetFileName() const;
    /// Whether the extension is that of a part or of a product, in any letter case.
    bool IsPartFile() const;
    bool IsProductFile() const;
    /// Whether something stands there; a folder counts too.
    bool Exists() const;

private:
    ZALUnicodeString Path;
};
