#include "catalogue/sources/CatalogueBuild.h"

#include "catalogue/items/ItemFolders.h"
#include "catalogue/sources/ItemIds.h"
#include "catalogue/sources/SourceJob.h"
#include "openhost/files/AtomicFile.h"
#include "openhost/files/Descriptor.h"
#include "openhost/files/Leftovers.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <exception>
#include <fstream>
#include <iterator>
#include <mutex>
#include <stdexcept>
#include <system_error>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace catalogue {

namespace {

using Json = nlohmann::ordered_json;

[[noreturn]] void Fail(const std::filesystem::path& path, const std::string& what)
{
    throw std::runtime_error(path.string() + ": " + what);
}

std::string ReadWhole(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// Copies the files of the folder `from` that `to` does not have as they are.
void Renew(const std::filesystem::path& from, const std::filesystem::path& to)
{
    std::filesystem::create_directories(to);
    for (const std::filesystem::directory_entry& entry : std::filesystem::directory_iterator(from)) {
        const std::filesystem::path target = to / entry.path().filename();
        if (const std::string content = ReadWhole(entry.path()); content != ReadWhole(target))
            openhost::ReplaceFile(target, content);
    }
}

void Synchronize(const std::filesystem::path& path)
{
    const openhost::Descriptor opened(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
    if (!opened || fsync(opened.Number()) != 0)
        Fail(path, std::generic_category().message(errno));
}

/// Brings the files of the item `id` below `from` to the disk and to their places below `to`, for good.
void PlaceFiles(const std::string& id, const std::filesystem::path& from, const std::filesystem::path& to)
{
    for (const char* folder : ItemFolders) {
        const std::filesystem::path file = std::filesystem::path(folder) / ItemFileName(folder, id);
        Synchronize(from / file);
        std::filesystem::rename(from / file, to / file);
    }
    for (const char* folder : ItemFolders)
        Synchronize(to / folder);
}

/// The category of a file in the folder `folder`: the folders that it lies in.
std::string CategoryOf(const std::string& name, const std::filesystem::path& folder)
{
    const std::size_t end = name.rfind('/');
    if (end == std::string::npos)
        return folder.filename().string();
    std::string category;
    for (const char character : name.substr(0, end))
        category += character == '/' ? " / " : std::string(1, character);
    return category;
}

} // namespace

class CatalogueBuild::Implementation {
public:
    Implementation(BuildOptions options, std::function<void(const BuildProgress&)> tell)
        : options_(std::move(options)), tell_(std::move(tell))
    {
        options_.folder = WithoutSeparatorAtEnd(options_.folder);
        options_.root = WithoutSeparatorAtEnd(options_.root);
    }

    BuildResult Run();
    void Interrupt();

private:
    /// A file that is new or changed.
    struct Task {
        std::string name;
        std::string id;
        std::int64_t number;
    };

    static std::filesystem::path WithoutSeparatorAtEnd(const std::filesystem::path& path)
    {
        const std::filesystem::path whole = std::filesystem::absolute(path).lexically_normal();
        return whole.has_filename() ? whole : whole.parent_path();
    }

    void OpenRoot();
    bool IsUnchanged(const std::string& name) const;
    std::string StampOf(const std::string& name) const;
    void Choose();
    void RemoveGone();
    void Work();
    bool Next(Task& task);
    void Make(openhost::GeometryProcess& process, const Task& task);
    void Keep(const Task& task, const SourceRecord& record, const Json& entry);
    void RemoveFiles(const std::string& id) const;
    BuildResult Summary() const;

    BuildOptions options_;
    std::function<void(const BuildProgress&)> tell_;
    openhost::Descriptor root_;        ///< which it marks as in use
    std::filesystem::path hidden_;     ///< for what is not complete
    std::vector<SourceRemark> unread_; ///< folders
    SourceFiles sources_;
    std::vector<Task> tasks_;
    std::size_t removed_ = 0;

    mutable std::mutex mutex_; ///< of what is below
    std::unique_ptr<BuildRecord> record_;
    std::vector<openhost::GeometryProcess*> processes_;
    std::size_t next_ = 0; ///< position among the tasks
    BuildProgress progress_;
    std::size_t made_ = 0;
    std::exception_ptr error_; ///< which ends the work
    bool isInterrupted_ = false;
};

void CatalogueBuild::Implementation::OpenRoot()
{
    const bool isNew = !std::filesystem::exists(options_.root);
    std::error_code error;
    std::filesystem::create_directories(options_.root, error);
    root_ = openhost::Descriptor(open(options_.root.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (error || !root_)
        Fail(options_.root, error ? error.message() : std::generic_category().message(errno));
    if (flock(root_.Number(), LOCK_EX | LOCK_NB) != 0)
        Fail(options_.root, "another process builds a catalogue there");
    if (!isNew && !std::filesystem::exists(options_.root / StoreName) && !std::filesystem::is_empty(options_.root))
        Fail(options_.root, "the folder holds something else than a catalogue");
    record_ = std::make_unique<BuildRecord>(options_.root / StoreName);
    for (const char* name : ItemFolders)
        std::filesystem::create_directories(options_.root / name);
    Renew(options_.base / "page", options_.root / "page");
    Renew(options_.base / "files" / "templates", options_.root / "files" / "templates");
    // Nobody else works here: what is hidden was left by a process that was killed.
    for (const std::filesystem::directory_entry& entry : std::filesystem::directory_iterator(options_.root))
        if (entry.path().filename().native().starts_with(".openhost-"))
            std::filesystem::remove_all(entry.path());
    hidden_ = options_.root / openhost::MakeTemporaryName();
}

std::string CatalogueBuild::Implementation::StampOf(const std::string& name) const
{
    const auto source = sources_.find(name);
    return source == sources_.end() ? std::string() : source->second.stamp;
}

bool CatalogueBuild::Implementation::IsUnchanged(const std::string& name) const
{
    const auto known = record_->Sources().find(name);
    if (known == record_->Sources().end())
        return false;
    const SourceRecord& record = known->second;
    if (record.stamp != StampOf(name) || (record.id.empty() && options_.retry))
        return false;
    return std::ranges::all_of(record.uses, [&](const auto& use) { return StampOf(use.first) == use.second; });
}

void CatalogueBuild::Implementation::Choose()
{
    ItemIds ids;
    for (const auto& [name, record] : record_->Sources())
        ids.Add(record.id);
    std::int64_t number = record_->NextNumber();
    for (const auto& [name, source] : sources_) {
        if (IsUnchanged(name))
            continue;
        const auto known = record_->Sources().find(name);
        const bool isItem = known != record_->Sources().end() && !known->second.id.empty();
        tasks_.push_back({name, isItem ? known->second.id : ids.Make(name), number++});
        progress_.size += source.size;
    }
    progress_.files = tasks_.size();
}

void CatalogueBuild::Implementation::RemoveGone()
{
    std::vector<std::string> gone;
    for (const auto& [name, record] : record_->Sources())
        if (!sources_.contains(name))
            gone.push_back(name);
    for (const std::string& name : gone) {
        const std::string id = record_->Sources().at(name).id;
        record_->Remove(name);
        RemoveFiles(id);
        removed_ += id.empty() ? 0 : 1;
    }
}

void CatalogueBuild::Implementation::RemoveFiles(const std::string& id) const
{
    if (id.empty())
        return;
    std::error_code ignored; // a file that stays is named by nothing
    for (const char* folder : ItemFolders)
        std::filesystem::remove(options_.root / folder / ItemFileName(folder, id), ignored);
}

BuildResult CatalogueBuild::Implementation::Run()
{
    if (!std::filesystem::is_directory(options_.folder))
        Fail(options_.folder, "no such folder");
    sources_ = FindSourceFiles(options_.folder, options_.root, unread_);
    if (sources_.empty())
        Fail(options_.folder, "there is no STEP file and no document");
    OpenRoot();
    Choose();
    RemoveGone();
    tell_(progress_);

    std::vector<std::thread> workers;
    for (std::size_t worker = 0; worker < std::min(options_.workers, tasks_.size()); ++worker)
        workers.emplace_back([this] { Work(); });
    for (std::thread& worker : workers)
        worker.join();
    std::error_code ignored;
    std::filesystem::remove_all(hidden_, ignored);
    if (error_)
        std::rethrow_exception(error_);
    return Summary();
}

bool CatalogueBuild::Implementation::Next(Task& task)
{
    const std::lock_guard lock(mutex_);
    if (isInterrupted_ || error_ || next_ == tasks_.size())
        return false;
    task = tasks_[next_++];
    return true;
}

void CatalogueBuild::Implementation::Work()
{
    openhost::GeometryProcess process(options_.program, options_.limits);
    {
        const std::lock_guard lock(mutex_);
        processes_.push_back(&process);
    }
    try {
        for (Task task; Next(task);)
            Make(process, task);
    } catch (...) {
        const std::lock_guard lock(mutex_);
        error_ = std::current_exception();
    }
    const std::lock_guard lock(mutex_);
    std::erase(processes_, &process);
}

void CatalogueBuild::Implementation::Make(openhost::GeometryProcess& process, const Task& task)
{
    const SourceFile& source = sources_.at(task.name);
    const std::filesystem::path output = hidden_ / task.id;
    std::filesystem::create_directories(output);
    SourceRecord record{source.stamp, {}, task.id, {}, {}};
    Json entry;
    try {
        const SourceJob job{source.path,
                            output,
                            task.id,
                            task.name,
                            CategoryOf(task.name, options_.folder),
                            options_.folder.filename().string()};
        SourceAnswer answer = SourceAnswer::Decode(process.Run(openhost::GeometryJob::Other, job.Encode()));
        for (const std::filesystem::path& file : answer.files)
            if (file != source.path) {
                const std::string name = file.lexically_relative(options_.folder).generic_string();
                record.uses[name] = StampOf(name);
            }
        record.warnings = std::move(answer.warnings);
        entry = std::move(answer.entry);
    } catch (const std::exception& error) {
        record.id.clear();
        record.reason = error.what();
        if (const std::string path = source.path.string() + ": "; record.reason.starts_with(path))
            record.reason.erase(0, path.size());
    }
    Keep(task, record, entry);
    std::filesystem::remove_all(output);
}

void CatalogueBuild::Implementation::Keep(const Task& task, const SourceRecord& record, const Json& entry)
{
    const std::lock_guard lock(mutex_);
    // What an interruption ends has not failed.
    if (isInterrupted_ && record.id.empty())
        return;
    if (record.id.empty())
        RemoveFiles(task.id);
    else
        PlaceFiles(task.id, hidden_ / task.id, options_.root);
    record_->Put(task.name, record, entry, task.number);
    made_ += record.id.empty() ? 0 : 1;
    progress_.leftOut += record.id.empty() ? 1 : 0;
    ++progress_.done;
    progress_.doneSize += sources_.at(task.name).size;
    tell_(progress_);
}

void CatalogueBuild::Implementation::Interrupt()
{
    const std::lock_guard lock(mutex_);
    isInterrupted_ = true;
    for (openhost::GeometryProcess* process : processes_)
        process->Interrupt();
}

BuildResult CatalogueBuild::Implementation::Summary() const
{
    BuildResult result;
    result.made = made_;
    result.removed = removed_;
    result.isComplete = progress_.done == tasks_.size();
    result.leftOut = unread_;
    for (const auto& [name, record] : record_->Sources()) {
        result.items += record.id.empty() ? 0 : 1;
        if (record.id.empty())
            result.leftOut.push_back({name, record.reason});
        for (const std::string& warning : record.warnings)
            result.remarks.push_back({name, warning});
    }
    return result;
}

CatalogueBuild::CatalogueBuild(BuildOptions options, std::function<void(const BuildProgress&)> tell)
    : implementation_(std::make_unique<Implementation>(std::move(options), std::move(tell)))
{
}

CatalogueBuild::~CatalogueBuild() = default;

BuildResult CatalogueBuild::Run()
{
    return implementation_->Run();
}

void CatalogueBuild::Interrupt()
{
    implementation_->Interrupt();
}

} // namespace catalogue
