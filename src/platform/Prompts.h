#pragma once

#include <QString>
#include <QStringList>
#include <string>

class QDialog;
class QWidget;

enum class MessageIcon { None, Information, Warning, Critical, Question };
enum class MessageButtons { Ok, OkCancel, YesNo, YesNoCancel };
enum class MessageAnswer { Ok, Cancel, Yes, No };

// What the folder picker is asked to show: its window caption, the prompt above the tree, the
// folder at the top of the tree and the folder selected at the start (paths as bytes).
struct FolderRequest {
    QString caption;
    QString prompt;
    std::string root;
    std::string start;
};

// What the save dialog is asked to show, and what it answers (an empty path on cancel).
struct SaveRequest {
    QString title;
    QStringList filters;
    QString defaultSuffix;
    std::string folder;
    std::string name;
    bool entireListEnabled = false; // the "Save Entire List" check box
    bool entireListChecked = false;
};
struct SaveAnswer {
    std::string path;
    bool entireList = false;
};

// Every modal interaction of the program goes through here: the program uses real dialogs,
// tests a scripted double that records each question and answers from a queue.
class Prompts {
public:
    virtual ~Prompts() = default;

    // A message box titled `title` (the application title when empty).
    virtual MessageAnswer Message(QWidget* owner, const QString& text, MessageIcon icon,
                                  MessageButtons buttons, const QString& title = {}) = 0;
    // The folder picker; an empty path when the user cancels.
    virtual std::string PickFolder(QWidget* owner, const FolderRequest& request) = 0;
    // The save dialog; asks before replacing a file.
    virtual SaveAnswer SaveFile(QWidget* owner, const SaveRequest& request) = 0;
    // Shows a dialog modally and returns its result code.
    virtual int ShowModal(QDialog* dialog) = 0;
};

// Real dialogs.
class QtPrompts : public Prompts {
public:
    MessageAnswer Message(QWidget* owner, const QString& text, MessageIcon icon,
                          MessageButtons buttons, const QString& title = {}) override;
    std::string PickFolder(QWidget* owner, const FolderRequest& request) override;
    SaveAnswer SaveFile(QWidget* owner, const SaveRequest& request) override;
    int ShowModal(QDialog* dialog) override;
};

// The application title, also the main window's caption: " Tallymoor", leading blank included.
inline const QString kApplicationTitle = QStringLiteral(" Tallymoor");
