#include "web/FormData.h"

#include "host/files.h"

namespace ZALVliHttpUtils {

namespace {

constexpr const char* LineEnd = "\r\n";
// Spelled once more in GetContentTypeHeaderValue.
constexpr const char* Boundary = "----WebKitFormBoundaryA9TZlwqNn7lCilAD";
/// Room behind a file for the line ends and the closing line, so that they do not move a large body.
constexpr std::size_t RoomBehindFile = 256;

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

    ZALFileHandle handle = 0;
    HRESULT result = ZALFOpen(path.CastToUTF16Ptr(), "rb", handle);
    if (SUCCEEDED(result)) {
        std::uint32_t size = 0;
        if (FAILED(ZALFSize(handle, size)) || size == 0) {
            ZALFClose(handle);
            return E_FAIL;
        }

        body.reserve(length + size + RoomBehindFile);
        body.resize(length + size);

        std::uint32_t count = 0;
        result = ZALFRead(handle, body.data() + length, size, count);
        if (count != size)
            result = E_FAIL;
    }

    ZALFClose(handle);

    return FAILED(result) ? E_FAIL : S_OK;
}

} // namespace

FormData::FormData() = default;
FormData::FormData(const FormData& other) = default;
FormData::FormData(FormData&& other) noexcept = default;
FormData& FormData::operator=(const FormData& other) = default;
FormData& FormData::operator=(FormData&& other) noexcept = default;
FormData::~FormData() = default;

void FormData::AddParam(const ZALUnicodeString& name, const ZALUnicodeString& value)
{
    items.push_back({ZALUnicodeString(), value, name, Param});
}

void FormData::AddBinaryFile(const ZALUnicodeString& name, const ZALUnicodeString& filePath,
                             const ZALUnicodeString& fileName)
{
    items.push_back({fileName, filePath, name, BinaryFile});
}

void FormData::AddZipFile(const ZALUnicodeString& name, const ZALUnicodeString& filePath,
                          const ZALUnicodeString& fileName)
{
    items.push_back({fileName, filePath, name, ZipFile});
}

HRESULT FormData::GenContent(std::string& body) const
{
    body.clear();

    for (const FormDataItem& item : items) {
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
}

const ZALUnicodeString& FormData::GetContentTypeHeaderValue()
{
    static const ZALUnicodeString value = "multipart/form-data; boundary=----WebKitFormBoundaryA9TZlwqNn7lCilAD";
    return value;
}

} // namespace ZALVliHttpUtils
