// What the built plug-in shows, and what it needs.

#include "tests/architecture/SourceTree.h"
#include "tests/support/Places.h"

#include <gmock/gmock.h>

#include <cstdio>
#include <dlfcn.h>
#include <regex>
#include <stdexcept>

namespace openhost::testing {

namespace {

const std::string Plugin = BuildDir() + "/lib/ZALVelmartIntegration.so";
const std::string Runtime = BuildDir() + "/lib/libopenhost.so";

std::vector<std::string> LinesOf(const std::string& command)
{
    std::FILE* pipe = popen(command.c_str(), "r");
    if (!pipe)
        throw std::runtime_error("cannot run " + command);
    std::string text;
    char buffer[4096];
    for (std::size_t count; (count = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;)
        text.append(buffer, count);
    if (pclose(pipe) != 0)
        throw std::runtime_error("failed: " + command);
    std::vector<std::string> lines;
    for (std::size_t start = 0, end; (end = text.find('\n', start)) != std::string::npos; start = end + 1)
        lines.push_back(text.substr(start, end - start));
    return lines;
}

/// Names of the dynamic symbols that `library` defines (`which` "--defined-only") or needs ("--undefined-only"),
/// demangled.
std::vector<std::string> Symbols(const std::string& library, const std::string& which)
{
    static const std::regex line("^[0-9a-f ]* [A-Za-z] (.*)$");
    std::vector<std::string> names;
    for (const std::string& text : LinesOf("'" VELMART_NM "' -DC " + which + " '" + library + "'")) {
        std::smatch match;
        if (std::regex_match(text, match, line))
            names.push_back(match[1]);
    }
    return names;
}

/// What a symbol belongs to: the function, or the class or namespace that stands first in its name.
std::string OwnerOf(const std::string& symbol)
{
    static const std::regex owner("^(?:typeinfo for |typeinfo name for |vtable for )?([A-Za-z_][A-Za-z0-9_]*)");
    std::smatch match;
    return std::regex_search(symbol, match, owner) ? match[1].str() : symbol;
}

/// Whether `symbol` belongs to the C or C++ library or to the compiler.
bool IsOfTheRuntime(const std::string& symbol)
{
    if (symbol.find('@') != std::string::npos) // a version, as the symbols of both libraries have
        return true;
    static const std::regex compiler("^(_ITM_|__gmon_start__|__asan_|__ubsan_|__sanitizer_|__lsan_|__sancov_|operator "
                                     "new|operator delete|__cxa_).*");
    if (std::regex_match(symbol, compiler))
        return true;
    // Sanitizers put themselves in front of functions of the C library, which then have no version.
    static void* const library = dlopen("libc.so.6", RTLD_NOW | RTLD_NOLOAD);
    return library && dlsym(library, symbol.c_str());
}

// ---------------------------------------------------------------------------------------------
// Shown

/// Every name that the plug-in shows. A constructor or destructor has several symbols of one name.
const std::set<std::string> Shown = {
    "CreateBOAZALIMeridiaAccessSettingsUIAddinZALVelmartMeridiaAccessSettingsUIAddin",
    "CreateTIEZALIMeridiaAccessDialogAddinZALVelmartMeridiaAccessAddin",
    "ZALVelmartFileDownloadCompleteNotification::ClassId()",
    "ZALVelmartFileDownloadCompleteNotification::ClassName()",
    "ZALVelmartFileDownloadCompleteNotification::CreateItself()",
    "ZALVelmartFileDownloadCompleteNotification::GetConcatenedWarningsMessageNLS() const",
    "ZALVelmartFileDownloadCompleteNotification::GetMetaObject() const",
    "ZALVelmartFileDownloadCompleteNotification::IsA() const",
    "ZALVelmartFileDownloadCompleteNotification::IsAKindOf(char const*) const",
    "ZALVelmartFileDownloadCompleteNotification::MetaObject()",
    "ZALVelmartFileDownloadCompleteNotification::ZALVelmartFileDownloadCompleteNotification(ZALListValZALUnicodeString "
    "const&, ZALUnicodeString const&, ZALVelmartFileDownloadCompleteNotification::Status)",
    "ZALVelmartFileDownloadCompleteNotification::ZALVelmartFileDownloadCompleteNotification(ZALListValZALUnicodeString "
    "const&, ZALVelmartFileDownloadCompleteNotification::Status)",
    "ZALVelmartFileDownloadCompleteNotification::ZALVelmartFileDownloadCompleteNotification(ZALListValZALUnicodeString "
    "const&, ZALVelmartFileDownloadCompleteNotification::Status, ZALListValZALUnicodeString const&)",
    "ZALVelmartFileDownloadCompleteNotification::ZALVelmartFileDownloadCompleteNotification("
    "ZALVelmartFileDownloadCompleteNotification const&)",
    "ZALVelmartFileDownloadCompleteNotification::ZALVelmartFileDownloadCompleteNotification("
    "ZALVelmartFileDownloadCompleteNotification::Status)",
    "ZALVelmartFileDownloadCompleteNotification::ZALVelmartFileDownloadCompleteNotification("
    "ZALVelmartFileDownloadCompleteNotification::Status, ZALUnicodeString const&)",
    "ZALVelmartFileDownloadCompleteNotification::operator=(ZALVelmartFileDownloadCompleteNotification const&)",
    "ZALVelmartFileDownloadCompleteNotification::~ZALVelmartFileDownloadCompleteNotification()",
    "ZALVelmartFileDownloader::ClassId()",
    "ZALVelmartFileDownloader::ClassName()",
    "ZALVelmartFileDownloader::CreateItself()",
    "ZALVelmartFileDownloader::GetInstance()",
    "ZALVelmartFileDownloader::GetMetaObject() const",
    "ZALVelmartFileDownloader::IsA() const",
    "ZALVelmartFileDownloader::IsAKindOf(char const*) const",
    "ZALVelmartFileDownloader::MetaObject()",
    "ZALVelmartFileDownloader::SetTemplatesURLs(ZALOmxAny const&)",
    "ZALVelmartFileDownloader::StartDownload(ZALOmxAny const&)",
    "ZALVelmartFileDownloader::~ZALVelmartFileDownloader()",
    "ZALVelmartIntegrationDebug::Chrono::GetElapsed()",
    "ZALVelmartIntegrationDebug::Chrono::GetElapsedAsString()",
    "ZALVelmartIntegrationDebug::Chrono::Start()",
    "ZALVelmartIntegrationDebug::Traces",
    "ZALVelmartIntegrationEventPublisher::ClassId()",
    "ZALVelmartIntegrationEventPublisher::ClassName()",
    "ZALVelmartIntegrationEventPublisher::CreateItself()",
    "ZALVelmartIntegrationEventPublisher::GetMetaObject() const",
    "ZALVelmartIntegrationEventPublisher::GetPrtOnUniqueInstance()",
    "ZALVelmartIntegrationEventPublisher::HasJSMessageListeners()",
    "ZALVelmartIntegrationEventPublisher::IsA() const",
    "ZALVelmartIntegrationEventPublisher::IsAKindOf(char const*) const",
    "ZALVelmartIntegrationEventPublisher::MetaObject()",
    "ZALVelmartIntegrationEventPublisher::SendEndTransactionEvent(ZALListValZALUnicodeString const&, ZALUnicodeString "
    "const&)",
    "ZALVelmartIntegrationEventPublisher::SendJSMessage(ZALOmxUTF8String const&)",
    "ZALVelmartIntegrationEventPublisher::~ZALVelmartIntegrationEventPublisher()",
    "ZALVelmartIntegrationUtilities::GetFileStreamMD5Hash(ZALUnicodeString const&)",
    "ZALVelmartIntegrationUtilities::GetJSScript(ZALUnicodeString const&, ZALUnicodeString&)",
    "ZALVelmartIntegrationUtilities::GetOpiAPIHandlersScript(ZALVelmartIntegrationUtilities::Context, "
    "ZALUnicodeString&)",
    "ZALVliHttpUtils::EncodeURLParam(ZALUnicodeString const&)",
    "ZALVliHttpUtils::FormData::AddBinaryFile(ZALUnicodeString const&, ZALUnicodeString const&, ZALUnicodeString "
    "const&)",
    "ZALVliHttpUtils::FormData::AddParam(ZALUnicodeString const&, ZALUnicodeString const&)",
    "ZALVliHttpUtils::FormData::AddZipFile(ZALUnicodeString const&, ZALUnicodeString const&, ZALUnicodeString const&)",
    "ZALVliHttpUtils::FormData::FormData()",
    "ZALVliHttpUtils::FormData::FormData(ZALVliHttpUtils::FormData const&)",
    "ZALVliHttpUtils::FormData::FormData(ZALVliHttpUtils::FormData&&)",
    "ZALVliHttpUtils::FormData::GenContent(std::__cxx11::basic_string<char, std::char_traits<char>, "
    "std::allocator<char> >&) const",
    "ZALVliHttpUtils::FormData::GetContentTypeHeaderValue()",
    "ZALVliHttpUtils::FormData::operator=(ZALVliHttpUtils::FormData const&)",
    "ZALVliHttpUtils::FormData::operator=(ZALVliHttpUtils::FormData&&)",
    "ZALVliHttpUtils::FormData::~FormData()",
    "ZALVliHttpUtils::SendRequest(ZALCefHttpRequest*, ZALBaseUnknown*, void (ZALBaseUnknown::*)(std::vector<char, "
    "std::allocator<char> > const&))",
    "ZALVliHttpUtils::SendRequest(ZALCefHttpRequest*, std::function<void (std::vector<char, std::allocator<char> > "
    "const&)> const&)",
    "ZALVliTemplateSupportUtilities::CheckIfQ7FileExists(ZALUnicodeString const&, ZALUnicodeString const&, unsigned "
    "char&, ZALUnicodeString&)",
    "ZALVliTemplateSupportUtilities::GetStoredTemplatePathes(ZALUnicodeString&, ZALUnicodeString&)",
    "ZALVliTemplateSupportUtilities::GetTemplatesURL(ZALOmxAny const&, ZALUnicodeString&, ZALUnicodeString&, "
    "ZALVliTemplateSupportUtilities::PreferredSaveMethod&)",
    "ZALVliTemplateSupportUtilities::SanitizeQ7FileName(ZALUnicodeString const&)",
    "ZALVliTemplateSupportUtilities::StoreTemplatePathes(ZALUnicodeString const&, ZALUnicodeString const&)",
    "ZALVliTemplateSupportUtilities::ZALVliApplyTemplatesOpe::AddPrdPropertyToReport(ZALUnicodeString const&, "
    "ZALUnicodeString const&)",
    "ZALVliTemplateSupportUtilities::ZALVliApplyTemplatesOpe::DeleteSourcesFiles()",
    "ZALVliTemplateSupportUtilities::ZALVliApplyTemplatesOpe::GetErrorMessage() const",
    "ZALVliTemplateSupportUtilities::ZALVliApplyTemplatesOpe::GetResultFilePathes() const",
    "ZALVliTemplateSupportUtilities::ZALVliApplyTemplatesOpe::GetWarningMessages() const",
    "ZALVliTemplateSupportUtilities::ZALVliApplyTemplatesOpe::Run()",
    "ZALVliTemplateSupportUtilities::ZALVliApplyTemplatesOpe::SetDestinationPath(ZALUnicodeString const&, "
    "ZALUnicodeString const&)",
    "ZALVliTemplateSupportUtilities::ZALVliApplyTemplatesOpe::SetPreferredSaveMethod(ZALVliTemplateSupportUtilities::"
    "PreferredSaveMethod)",
    "ZALVliTemplateSupportUtilities::ZALVliApplyTemplatesOpe::SetSourceFilesPathes(ZALListValZALUnicodeString const&)",
    "ZALVliTemplateSupportUtilities::ZALVliApplyTemplatesOpe::SetTemplatesPathes(ZALUnicodeString const&, "
    "ZALUnicodeString const&)",
    "ZALVliTemplateSupportUtilities::ZALVliApplyTemplatesOpe::ZALVliApplyTemplatesOpe()",
    "ZALVliTemplateSupportUtilities::ZALVliApplyTemplatesOpe::~ZALVliApplyTemplatesOpe()",
    "fctCreateZALVelmartFindSimilarCmd",
    "typeinfo for ZALVelmartFileDownloadCompleteNotification",
    "typeinfo for ZALVelmartFileDownloader",
    "typeinfo for ZALVelmartIntegrationEventPublisher",
    "typeinfo for ZALVliTemplateSupportUtilities::ZALVliApplyTemplatesOpe",
    "typeinfo name for ZALVelmartFileDownloadCompleteNotification",
    "typeinfo name for ZALVelmartFileDownloader",
    "typeinfo name for ZALVelmartIntegrationEventPublisher",
    "typeinfo name for ZALVliTemplateSupportUtilities::ZALVliApplyTemplatesOpe",
    "vtable for ZALVelmartFileDownloadCompleteNotification",
    "vtable for ZALVelmartFileDownloader",
    "vtable for ZALVelmartIntegrationEventPublisher",
    "vtable for ZALVliTemplateSupportUtilities::ZALVliApplyTemplatesOpe",
};

TEST(PluginSymbols, ShowWhatOtherModulesUseAndNothingElse)
{
    const std::vector<std::string> symbols = Symbols(Plugin, "--defined-only");
    EXPECT_THAT(std::set<std::string>(symbols.begin(), symbols.end()), ::testing::ContainerEq(Shown));
}

// ---------------------------------------------------------------------------------------------
// Needed

TEST(PluginSymbols, NeedTheHostViewAndTheLanguagesRuntimeOnly)
{
    const std::set<std::string> hostView = WordsIn("module/host");
    for (const std::string& symbol : Symbols(Plugin, "--undefined-only"))
        EXPECT_TRUE(IsOfTheRuntime(symbol) || hostView.contains(OwnerOf(symbol))) << symbol;
}

TEST(PluginSymbols, ThatAreNeededOfTheHostAreAllThere)
{
    const std::vector<std::string> defined = Symbols(Runtime, "--defined-only");
    const std::set<std::string> offered(defined.begin(), defined.end());
    int ofTheHost = 0;
    for (const std::string& symbol : Symbols(Plugin, "--undefined-only")) {
        if (IsOfTheRuntime(symbol))
            continue;
        ++ofTheHost;
        EXPECT_TRUE(offered.contains(symbol)) << symbol;
    }
    EXPECT_GT(ofTheHost, 50);
}

TEST(PluginLibraries, AreTheLanguagesRuntimeOnly)
{
    static const std::regex needed(R"(.*\(NEEDED\).*\[([^\]]*)\].*)");
    const std::set<std::string> allowed = {"libstdc++", "libm", "libgcc_s", "libc", "ld-linux-x86-64",
                                           // in a build with sanitizers
                                           "libasan", "libubsan", "liblsan"};
    int count = 0;
    for (const std::string& line : LinesOf("'" VELMART_READELF "' -d '" + Plugin + "'")) {
        std::smatch match;
        if (!std::regex_match(line, match, needed))
            continue;
        ++count;
        const std::string library = match[1];
        EXPECT_TRUE(allowed.contains(library.substr(0, library.find(".so")))) << library;
    }
    EXPECT_GT(count, 0);
}

TEST(Programs, ThatPlayOrServeLinkNoSolidKernelAndNoWindows)
{
    for (const std::string& file : {BuildDir() + "/bin/openhost", BuildDir() + "/bin/velmart-catalogue", Runtime})
        for (const std::string& line : LinesOf("'" VELMART_READELF "' -d '" + file + "'"))
            EXPECT_THAT(line, ::testing::Not(::testing::ContainsRegex("NEEDED.*lib(TK|Qt)"))) << file;
}

} // namespace

} // namespace openhost::testing
