#include "tests/journeys/JourneyFixture.h"

#include "openhost/cad/CompoundDocumentKernel.h"
#include "openhost/commands/Commands.h"
#include "openhost/files/PathVariables.h"
#include "openhost/frame/Frame.h"
#include "openhost/http/CurlTransport.h"
#include "openhost/http/ScriptedTransport.h"
#include "openhost/loop/PollEventLoop.h"
#include "openhost/settings/SettingsStore.h"
#include "openhost/text/Utf.h"

#include "tests/support/Places.h"

#include <algorithm>
#include <chrono>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace openhost::testing {
namespace {

constexpr std::chrono::minutes Patience{1};

std::string Replaced(std::string text, const std::string& placeholder, const std::string& value)
{
    for (std::size_t at = text.find(placeholder); at != std::string::npos;
         at = text.find(placeholder, at + value.size()))
        text.replace(at, placeholder.size(), value);
    return text;
}

} // namespace

CompletionListener::CompletionListener()
{
    AddCallback(ZALVelmartFileDownloader::GetInstance(), ZALVelmartFileDownloadCompleteNotification::ClassName(),
                &CompletionListener::OnComplete, nullptr);
}

void CompletionListener::OnComplete(ZALBaseUnknown*, ZALNotification* notification, void*)
{
    const auto& complete = *ZALSysDynamicCast<ZALVelmartFileDownloadCompleteNotification>(notification);
    Completion completion{complete.GetStatus(), {}, ToUtf8(complete.GetDocEnvId())};
    for (int index = 1; index <= complete.GetDownloadedFilesPathes().Size(); ++index)
        completion.files.push_back(Replaced(ToUtf8(complete.GetDownloadedFilesPathes()[index]), "\\", "/"));
    completions_.push_back(completion);
}

JourneyFixture::JourneyFixture() : service_(ItemsDir())
{
    std::filesystem::create_directory(Temp());
    std::filesystem::create_directory(Parts());
    SetPathVariable(TemporaryFolderVariable, Temp());
    SetPathVariable(InstallationVariable, SourceDir() + "/installation");

    EventLoop::Install(std::make_unique<PollEventLoop>());
    HttpTransport::Install(std::make_unique<CurlTransport>());
    DocumentKernel::Install(std::make_unique<CompoundDocumentKernel>());
    auto surface = std::make_unique<ScriptedSurface>();
    surface_ = surface.get();
    DialogSurface::Install(std::move(surface));
    ConfigureFrame({});
    ConfigureCommands({});
    SettingsStore::Current().Reset();
    SettingsStore::Current().SetValues({true, FromUtf8(Parts().string())});

    service_.Start();
    listener_ = new CompletionListener;
    addin_ = new ZALVelmartMeridiaAccessAddin;
}

JourneyFixture::~JourneyFixture()
{
    addin_->Release();
    listener_->Release();
    EventLoop::Current().RunUntilIdle(Patience);
    HttpTransport::Install(std::make_unique<ScriptedTransport>()); // ends connections that the service would wait for
    service_.Stop();
    ResetFrame();
    ResetCommands();
    UnsetPathVariable(TemporaryFolderVariable);
    UnsetPathVariable(InstallationVariable);
}

nlohmann::json JourneyFixture::RequestOf(const std::string& id) const
{
    const std::string text = ReadFile(std::filesystem::path(ItemsDir()) / "items" / (id + ".json"));
    return nlohmann::json::parse(Replaced(Replaced(text, "${BASE}", Base()), "${FILES}",
                                          (std::filesystem::path(ItemsDir()) / "files").string()));
}

nlohmann::json JourneyFixture::RequestFor(const std::string& address)
{
    return {{"id", 1}, {"attributes", {{"downloadUrls", {{"ZALOR_RAW", address}}}}}};
}

HRESULT JourneyFixture::Send(const std::string& event, const nlohmann::json& content)
{
    const nlohmann::json message = {{"event", event}, {"content", content}};
    return addin_->OnJSMessage(FromUtf8(message.dump()));
}

void JourneyFixture::RunUntilIdle()
{
    ASSERT_EQ(RunEnd::Idle, EventLoop::Current().RunUntilIdle(Patience));
}

void JourneyFixture::RunUntil(const std::function<bool()>& done)
{
    ASSERT_EQ(RunEnd::Done, EventLoop::Current().RunUntil(done, Patience));
}

CompletionListener::Completion JourneyFixture::Download(const nlohmann::json& content)
{
    const std::size_t before = listener_->Completions().size();
    EXPECT_EQ(S_OK, Send("velmart_download", content));
    RunUntilIdle();
    if (listener_->Completions().size() != before + 1)
        throw std::runtime_error("there is not one completion of the download");
    return listener_->Completions().back();
}

CompletionListener::Completion JourneyFixture::Fetch(const nlohmann::json& content)
{
    const CompletionListener::Completion completion = Download(content);
    EXPECT_EQ(ZALVelmartFileDownloadCompleteNotification::DownloadSucceeded, completion.status);
    if (completion.files.empty())
        throw std::runtime_error("the download has no files");
    return completion;
}

void JourneyFixture::ExpectEnded(ZALVelmartFileDownloadCompleteNotification::Status status) const
{
    ASSERT_EQ(1U, listener_->Completions().size());
    EXPECT_EQ(status, listener_->Completions()[0].status);
}

} // namespace openhost::testing
