// A form as the body of a request.
#pragma once

#include "host/text.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace ZALVliHttpUtils {

/// What an item of a form is.
enum FormDataItemType : std::int32_t {
    Param = 0,
    BinaryFile = 1,
    ZipFile = 2,
};

/// One item of a form.
struct FormDataItem {
    ZALUnicodeString fileName;    ///< as the receiver sees it; empty for a parameter
    ZALUnicodeString valueOrPath; ///< of a parameter its value, of a file its path
    ZALUnicodeString name;        ///< of the field
    FormDataItemType type = Param;
};

/// Named values and files in the order in which they were added, as a `multipart/form-data` body. Files are read by
/// GenContent. Nothing is escaped, and the boundary is always the same, whatever the files hold, as the service
/// expects.
class FormData {
public:
    FormData();
    FormData(const FormData& other);
    FormData(FormData&& other) noexcept;
    FormData& operator=(const FormData& other);
    FormData& operator=(FormData&& other) noexcept;
    ~FormData();

    void AddParam(const ZALUnicodeString& name, const ZALUnicodeString& value);
    void AddBinaryFile(const ZALUnicodeString& name, const ZALUnicodeString& filePath,
                       const ZALUnicodeString& fileName);
    void AddZipFile(const ZALUnicodeString& name, const ZALUnicodeString& filePath, const ZALUnicodeString& fileName);

    /// Replaces `body` by the whole form, every file read in one piece. E_FAIL for a file that cannot be read, is empty
    /// or ends before its size, without memory, and for a form that there was no memory for; `body` is of no use then.
    HRESULT GenContent(std::string& body) const;
    /// The value of the header "Content-Type", valid until the process ends; empty without memory, until the next call.
    static const ZALUnicodeString& GetContentTypeHeaderValue();

private:
    /// Nothing once there was no memory for an item: the form is not whole then.
    std::optional<std::vector<FormDataItem>> items{std::in_place};
};

} // namespace ZALVliHttpUtils
