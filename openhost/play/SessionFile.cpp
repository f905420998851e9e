#include "openhost/play/SessionFile.h"

#include "openhost/files/PathVariables.h"
#include "openhost/play/Expand.h"
#include "openhost/play/LocatedRead.h"
#include "openhost/play/SessionSteps.h"
#include "openhost/settings/SettingsStore.h"

#include <fstream>
#include <set>

namespace openhost {

namespace {

/// Checks that every placeholder below `value` has one of the names `known`.
void CheckPlaceholders(const LocatedJson& value, const std::set<std::string>& known)
{
    if (value.value.is_string()) {
        try {
            Expand(value.value.get<std::string>(), [&](const std::string& name) {
                if (!known.contains(name))
                    throw std::invalid_argument("the placeholder \"" + name + "\" has no value");
                return std::string();
            });
        } catch (const std::invalid_argument& error) {
            throw LocatedError(value.line, error.what());
        }
    }
    for (const auto& [name, member] : value.members)
        CheckPlaceholders(member, known);
    for (const LocatedJson& item : value.items)
        CheckPlaceholders(item, known);
}

/// The placeholders of the file: those given, the path variables, but in the values of the variables themselves
/// only those given.
void CheckAllPlaceholders(const LocatedJson& root, const Session& session)
{
    std::set<std::string> given;
    for (const auto& [name, value] : session.given)
        given.insert(name);
    std::set<std::string> known = given;
    known.insert({TemporaryFolderVariable, InstallationVariable});
    for (const auto& [name, value] : session.variables)
        known.insert(name);

    for (const auto& [key, member] : root.members)
        CheckPlaceholders(member, key == "variables" ? given : known);
}

/// Names of variables go to the system, which takes no "=" and no zero character in them.
void CheckVariableName(const LocatedJson& value, const std::string& name)
{
    if (name.empty() || name.find_first_of(std::string("=\0", 2)) != std::string::npos)
        throw LocatedError(value.line, "no name of a variable: \"" + name + "\"");
}

void CheckNoZero(const LocatedJson& value)
{
    if (value.value.is_string() && value.value.get_ref<const std::string&>().find('\0') != std::string::npos)
        throw LocatedError(value.line, "the text must not hold a zero character");
}

void RequireMap(const LocatedJson& value, const std::string& name)
{
    if (!value.value.is_object())
        throw LocatedError(value.line, "\"" + name + "\" must be a map, not " + value.KindName());
}

std::map<std::string, std::string> ReadVariables(const LocatedJson& value, const std::string& key)
{
    RequireMap(value, key);
    std::map<std::string, std::string> variables;
    for (const auto& [name, member] : value.members) {
        CheckVariableName(member, name);
        variables[name] = ReadName(member, name);
        CheckNoZero(member);
    }
    return variables;
}

std::map<std::string, std::optional<std::string>> ReadEnvironment(const LocatedJson& value, const std::string& key)
{
    RequireMap(value, key);
    std::map<std::string, std::optional<std::string>> environment;
    for (const auto& [name, member] : value.members) {
        CheckVariableName(member, name);
        environment[name] = member.value.is_null() ? std::nullopt : std::optional(ReadText(member, name));
        CheckNoZero(member);
    }
    return environment;
}

std::map<std::string, char> ReadLocks(const LocatedJson& value, const std::string& key)
{
    RequireMap(value, key);
    std::map<std::string, char> locks;
    for (const auto& [name, member] : value.members) {
        if (name != SettingsStore::DownloadLocation && name != SettingsStore::DoNotRemindDownloadLocation)
            throw LocatedError(member.line, "\"locks\" has the unknown setting \"" + name + "\"");
        const std::string& lock = ReadText(member, name);
        if (lock.size() != 1)
            throw LocatedError(member.line, "\"" + name + "\" must be one lock character");
        locks[name] = lock[0];
    }
    return locks;
}

SessionSettings ReadSettings(const LocatedJson& value, const std::string&)
{
    SessionSettings settings;
    ReadMembers(value, "\"settings\"",
                {{SettingsStore::DownloadLocation, Into(settings.downloadLocation, ReadText)},
                 {SettingsStore::DoNotRemindDownloadLocation, Into(settings.doNotRemindDownloadLocation, ReadBoolean)},
                 {"locks", Into(settings.locks, ReadLocks)}});
    return settings;
}

std::vector<std::string> ReadDocuments(const LocatedJson& value, const std::string& key)
{
    std::vector<std::string> documents;
    for (const LocatedJson& item : ReadList(value, key))
        documents.push_back(ReadName(item, key));
    return documents;
}

std::vector<SessionStep> ReadSteps(const LocatedJson& value, const std::string& key)
{
    std::vector<SessionStep> steps;
    for (const LocatedJson& item : ReadList(value, key))
        steps.push_back(ReadStep(item));
    return steps;
}

} // namespace

Session ParseSession(std::string_view text, const std::filesystem::path& folder, const Placeholders& given)
{
    const LocatedJson root = LocatedJson::Parse(text);
    Session session;
    session.folder = folder;
    session.given = given;

    ReadMembers(root, "a session",
                {{"$schema", ReadText}, // for editors
                 {"variables", Into(session.variables, ReadVariables)},
                 {"environment", Into(session.environment, ReadEnvironment)},
                 {"settings", Into(session.settings, ReadSettings)},
                 {"settingsFile", Into(session.settingsFile, ReadName)},
                 {"frame", Into(session.frame, ReadBoolean)},
                 {"workshop", Into(session.workshop, ReadText)},
                 {"documents", Into(session.documents, ReadDocuments)},
                 {"traces", Into(session.traces, ReadBoolean)},
                 {"strict", Into(session.strict, ReadBoolean)},
                 {"steps", Into(session.steps, ReadSteps)}});
    RequireMembers(root, "a session", {"steps"});

    if (session.settings && session.settingsFile)
        throw LocatedError(root.Find("settingsFile")->line, "\"settings\" and \"settingsFile\" exclude each other");
    CheckAllPlaceholders(root, session);
    for (const auto& [name, member] : root.members)
        if (name != "steps")
            session.header[name] = member.ToJson();
    return session;
}

Session ReadSessionFile(const std::filesystem::path& path, const Placeholders& given)
{
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(path, error);
    if (error)
        throw LocatedError(1, "the file cannot be read: " + error.message());
    if (size > MaximumSessionSize)
        throw LocatedError(1, "the file is longer than " + std::to_string(MaximumSessionSize) + " bytes");
    std::ifstream file(path, std::ios::binary);
    std::string text(static_cast<std::size_t>(size), '\0');
    file.read(text.data(), static_cast<std::streamsize>(size));
    if (!file)
        throw LocatedError(1, "the file cannot be read");
    return ParseSession(text, std::filesystem::absolute(path).parent_path(), given);
}

} // namespace openhost
