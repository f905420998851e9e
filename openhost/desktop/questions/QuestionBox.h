// A modal message or question on the screen.
#pragma once

#include "host/text.h"

#include <QDialog>

#include <optional>

namespace openhost {

/// Shows an icon, the text and the buttons that belong to a style of ZALDlgNotify; a style that is none of those is a
/// message with OK. The buttons are named "OK", "YES" and "NO". The box stays open: its owner ends it.
class QuestionBox final : public QDialog {
public:
    QuestionBox(unsigned int style, const ZALUnicodeString& text, const ZALUnicodeString& title);
    /// One of the answers of ZALDlgNotify, once the user has given it.
    std::optional<int> Answer() const { return answer_; }
    /// The answer that changes least: No where there is one.
    int SafeAnswer() const { return safeAnswer_; }
    /// The close box and the Escape key: the safe answer.
    void reject() override;

private:
    std::optional<int> answer_;
    int safeAnswer_ = 0; ///< ZALDlgAnswerClosed
};

} // namespace openhost
