// A surface without a display: answers given beforehand, every control can be read and pushed.
#pragma once

#include "openhost/dialogs/DialogSurface.h"

#include <deque>
#include <map>
#include <string>
#include <vector>

namespace openhost {

/// What has become of a push.
enum class PushResult {
    Done,
    NoDialog,    ///< no visible window has the name
    NoControl,   ///< the window has no such control, or it cannot be pushed
    NoText,      ///< the control takes no text
    NoState,     ///< the control has no state
    Insensitive, ///< the window or the control takes no input at present
};

/// A sentence part for reports, such as "takes no input".
const char* ToText(PushResult result);

/// Backend of DialogSurface for tests and session files.
class ScriptedSurface : public DialogSurface {
public:
    /// A question that has been asked.
    struct Question {
        std::string name;
        unsigned int style;
        std::string title;
        std::string text;
        std::string parent; ///< name of the parent; empty for none
        int answer;         ///< -1 as long as there is none
        /// Whether the script had an answer, or the user has answered; otherwise the question was closed.
        bool answered = false;
        bool refused = false; ///< it must not be asked

        /// Whether it makes a difference how it is answered.
        bool IsChoice() const { return style == ZALDlgNotifyYesNo || style == ZALDlgNotifyWarningYesNo; }
    };
    /// What has happened to a window.
    struct WindowEvent {
        enum class Action { Shown, Hidden, Ended };
        std::string name;
        unsigned int style;
        Action action;
    };

    /// Queues `answer` for a question named `dialog`; the answers of one name are used in their order. A question
    /// without one is closed.
    void Answer(const std::string& dialog, int answer);
    /// From here on a question named `dialog` that has no other answer is answered by `answer`, and counts as one that
    /// must not be asked.
    void Refuse(const std::string& dialog, int answer) { refusals_[dialog] = answer; }
    /// Acts as the user on the visible window `dialog`, the newest of that name. The control "CLOSE" is its close
    /// box, "OK" and "CANCEL" are the buttons of a window that has them; otherwise a push button is pushed, and the
    /// state of a check button changes. Callbacks run before the call returns, and may end the window.
    PushResult Push(const std::string& dialog, const std::string& control);
    /// Replaces the text of an editor in the same way. The control "FOLDER" of a file box is its choice.
    PushResult EnterText(const std::string& dialog, const std::string& control, const ZALUnicodeString& text);
    /// Brings a check button to `state`, ZALDlgChecked or ZALDlgUnchecked, in the same way.
    PushResult SetState(const std::string& dialog, const std::string& control, int state);
    /// Whether the module gets the file boxes that it asks for (true at first).
    void OfferFileBoxes(bool offer) { offersFileBoxes_ = offer; }

    /// Shows windows on `display` too, where the user acts on them beside the script.
    void ShowOn(std::unique_ptr<DialogSurface> display);
    /// From here on a question without an answer is asked on the display, if there is one, instead of being closed.
    void LetUserAnswer() { userAnswers_ = true; }

    /// The newest live control or window named `name`, or null. No reference is added.
    ZALDialog* Find(const std::string& name) const;
    /// The control `control` in the newest live window named `dialog`, or null. No reference is added.
    ZALDialog* Find(const std::string& dialog, const std::string& control) const;
    /// In the order in which they were asked.
    const std::vector<Question>& Questions() const { return questions_; }
    /// In the order in which they happened. Questions do not count as windows here.
    const std::vector<WindowEvent>& WindowEvents() const { return windowEvents_; }
    /// Answers that no question has used so far.
    std::size_t UnusedAnswers() const;

    void Shown(ZALDialog& dialog) override;
    void Hidden(ZALDialog& dialog) override;
    void Changed(ZALDialog& dialog) override;
    void Ended(ZALDialog& dialog) override;
    /// An answer of the script comes from the event loop, after what is pending there when the question is asked.
    int Ask(ZALDlgNotify& question, const ZALUnicodeString& text, const ZALUnicodeString& title) override;
    bool OffersFileBoxes() const override { return offersFileBoxes_; }

private:
    void Record(const ZALDialog& dialog, WindowEvent::Action action);
    bool HasAnswer(const std::string& dialog) const;
    int TakeAnswer(Question& asked);
    /// Brings the answer to the question with the number `index` from the loop.
    int AskScript(ZALDlgNotify& question, std::size_t index);

    std::map<std::string, std::deque<int>> answers_;
    std::map<std::string, int> refusals_; ///< answers to questions that must not be asked
    std::vector<Question> questions_;
    std::vector<WindowEvent> windowEvents_;
    bool offersFileBoxes_ = true;
    std::unique_ptr<DialogSurface> display_; ///< null for none
    bool userAnswers_ = false;
};

} // namespace openhost
