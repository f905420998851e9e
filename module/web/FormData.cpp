#include "web/FormData.h"

#include "host/files.h"

#include <new>

namespace ZALVliHttpUtils {

namespace {

constexpr const char* LineEnd = "\r\n";
// Spelled once more in GetContentTypeHeaderValue.
constexpr const char* Boundary = "----WebKitFormBoundaryA9TZlwqNn7lCilAD";
/// Room after a file for the line ends and the closing line, so that they do not move a large body.
constexpr std::size_t RoomAfterFile = 256;

void AppendUTF8(std::string& body, const ZALUnicodeString& text)
{
    std::string buffer(4 * static_cast<std::size_t>(text.GetLengthInChar()) + 1, '\0');
    std::size_t length = 0;
    text.ConvertToUTF8(buffer.data(), length);
    body.append(buffer, 0, length);
}

HRESULT AppendFile(std::string& body, const ZALUnicodeString& path)
{
    const std::size_t length = body.size();

    // Closed in every case, also when it was not opened and the handle is 0.
    struct ClosedFile {
        ClosedFile() = default;
        ClosedFile(const ClosedFile&) = delete;
        ClosedFile& operator=(const ClosedFile&) = delete;
        ~ClosedFile() { ZALFClose(handle); }
        ZALFileHandle handle = 0;
    } file;
    if (FAILED(ZALFOpen(path.CastToUTF16Ptr(), "rb", file.handle)))
        return E_FAIL;

    std::uint32_t size = 0;
    if (FAILED(ZALFSize(file.handle, size)) || size == 0)
        return E_FAIL;

    body.reserve(length + size + RoomAfterFile);
    body.resize(length + size);

    std::uint32_t count = 0;
    const HRESULT result = ZALFRead(file.handle, body.data() + length, size, count);
    return FAILED(result) || count != size ? E_FAIL : S_OK;
}

/// Leaves no items when there is no memory for the one more.
void Append(std::optional<std::vector<FormDataItem>>& items, const ZALUnicodeString& fileName,
            const ZALUnicodeString& valueOrPath, const ZALUnicodeString& name, FormDataItemType type)
try {
    if (items)
        items->push_back({fileName, valueOrPath, name, type});
} catch (const std::bad_alloc&) {
    items.reset();
}

} // namespace

FormData::FormData() = default;

FormData::FormData(const FormData& other) : FormData()
{
    *this = other;
}

FormData::FormData(FormData&& other) noexcept = default;

FormData& FormData::operator=(const FormData& other)
try {
    items = other.items;
    return *this;
} catch (const std::bad_alloc&) {
    items.reset();
    return *this;
}

FormData& FormData::operator=(FormData&& other) noexcept = default;
FormData::~FormData() = default;

void FormData::AddParam(const ZALUnicodeString& name, const ZALUnicodeString& value)
{
    Append(items, ZALUnicodeString(), value, name, Param);
}

void FormData::AddBinaryFile(const ZALUnicodeString& name, const ZALUnicodeString& filePath,
                             const ZALUnicodeString& fileName)
{
    Append(items, fileName, filePath, name, BinaryFile);
}

void FormData::AddZipFile(const ZALUnicodeString& name, const ZALUnicodeString& filePath,
                          const ZALUnicodeString& fileName)
{
    Append(items, fileName, filePath, name, ZipFile);
}

HRESULT FormData::GenContent(std::string& body) const
try {
    body.clear();

    if (!items)
        return E_FAIL;

    for (const FormDataItem& item : *items) {
        body.append("--").append(Boundary).append(LineEnd);
        body.append("Content-Disposition: form-data; name=\"");
        AppendUTF8(body, item.name);

        if (item.type == Param) {
            body.append("\"").append(LineEnd).append(LineEnd);
            AppendUTF8(body, item.valueOrPath);
            body.append(LineEnd);
            continue;
        }

        body.append("\"; filename=\"");
        AppendUTF8(body, item.fileName);
        body.append("\"").append(LineEnd);
        body.append(item.type == ZipFile ? "Content-Type: application/x-zip-compressed"
                                         : "Content-Type: application/octet-stream");
        body.append(LineEnd).append(LineEnd);
        if (FAILED(AppendFile(body, item.valueOrPath)))
            return E_FAIL;
        body.append(LineEnd);
    }

    body.append("--").append(Boundary).append("--").append(LineEnd);
    return S_OK;
} catch (const std::bad_alloc&) {
    return E_FAIL;
}

const ZALUnicodeString& FormData::GetContentTypeHeaderValue()
try {
    static const ZALUnicodeString value = "multipart/form-data; boundary=----WebKitFormBoundaryA9TZlwqNn7lCilAD";
    return value;
} catch (const std::bad_alloc&) {
    static const ZALUnicodeString none;
    return none;
}

} // namespace ZALVliHttpUtils
