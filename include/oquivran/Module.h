#pragma once

#include <QString>

#include <functional>

namespace oquivran {

// Message-box styles and answers, as the component passes them to the message handler.
enum MessageStyle : int {
    MessageOkOnly = 0,
    MessageYesNo = 4,
    MessageCritical = 16,
    MessageQuestion = 32,
    MessageExclamation = 48,
};
enum MessageAnswer : int {
    AnswerOk = 1,
    AnswerYes = 6,
    AnswerNo = 7,
};

// Shows one message and returns the button chosen (AnswerOk, AnswerYes or AnswerNo). style is
// the sum of a button set and an icon; an empty title means the default title "oQUIVRAN".
using MessageHandler = std::function<int(const QString& prompt, int style, const QString& title)>;

// Routes every message box of the component through handler. An empty handler restores the
// default one, which shows a QMessageBox (creating a QApplication when the host has none).
// The handler is a host setting: resetModuleState() keeps it.
void setMessageHandler(MessageHandler handler);

// Returns the shared module state to that of a freshly loaded component: bindings,
// properties, lists, formats and results.
void resetModuleState();

} // namespace oquivran
