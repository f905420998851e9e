// The store of the integration's settings.
#pragma once

#include "host/settings.h"

#include <filesystem>
#include <string>

namespace openhost {

/// The values of the two settings.
struct SettingsValues {
    bool doNotRemindDownloadLocation = false;
    ZALUnicodeString downloadLocation; ///< empty as long as no folder has been chosen
};

/// One store a run, which all settings objects of the module look at. Its file is a JSON object:
///
///     {"DoNotRemindDownloadLocation": false, "DownloadLocation": "/home/jo/parts",
///      "locks": {"DownloadLocation": "R"},
///      "administrator": {"DoNotRemindDownloadLocation": true, "DownloadLocation": "/srv/parts"}}
///
/// All members are optional. "administrator" holds the values that a reset goes back to. Members of other names stay
/// in the file as they are.
class SettingsStore {
public:
    /// Names of the settings.
    static constexpr const char* DoNotRemindDownloadLocation = "DoNotRemindDownloadLocation";
    static constexpr const char* DownloadLocation = "DownloadLocation";

    /// The store of the run. A process begins with one that has been reset.
    static SettingsStore& Current();

    /// Goes back to the values by default, without locks and without a file: values last as long as the run.
    void Reset();
    /// Takes the values of `file`, and saves there from now on. An absent file means the values by default, and is
    /// made by the first Save. Throws std::runtime_error with the file and the reason when it cannot be read or is
    /// damaged: then the store cannot be had and nothing is saved, so that the file stays for repair, until Reset
    /// or another Load.
    void Load(const std::filesystem::path& file);
    /// Writes the file, and does nothing without one. What else stands in the file by now stays there. Throws
    /// std::runtime_error with the reason when that fails, also for a file that has become damaged or may only be
    /// read; the file of before is then untouched.
    void Save() const;

    /// Whether the store can be had.
    bool IsAvailable() const { return available_; }
    /// Makes a store that cannot be had, or one that can again.
    void SetAvailable(bool available) { available_ = available; }

    const SettingsValues& Values() const { return values_; }
    /// Sets the values, whatever is locked.
    void SetValues(const SettingsValues& values) { values_ = values; }
    /// Sets the values that ResetToAdministrator goes back to.
    void SetAdministratorValues(const SettingsValues& values) { administrator_ = values; }

    /// The lock character of the setting `name`. Throws std::invalid_argument for a name that is no setting.
    char Lock(const std::string& name) const;
    /// Throws std::invalid_argument for a name that is no setting.
    void SetLock(const std::string& name, char lock);
    /// Whether the lock character of the setting `name` is `R` or `r`.
    bool IsLocked(const std::string& name) const;

    /// Keeps the values for GoBackToKept. Load and Reset keep theirs.
    void Keep() { kept_ = values_; }
    void GoBackToKept() { TakeUnlocked(kept_); }
    void ResetToAdministrator() { TakeUnlocked(administrator_); }

private:
    // A locked setting has its administrator's value already.
    void TakeUnlocked(const SettingsValues& values);
    void Read(const std::filesystem::path& file);

    SettingsValues values_;
    SettingsValues kept_;
    SettingsValues administrator_;
    char doNotRemindLock_ = '-';
    char downloadLocationLock_ = '-';
    bool available_ = true;
    std::filesystem::path file_;
};

} // namespace openhost
