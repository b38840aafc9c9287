#pragma once

#include <QString>
#include <QStringList>
#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

enum class MessageIcon { None, Information, Warning, Critical, Question };
// The buttons of a message box; the first is the default but where the name says otherwise.
enum class MessageButtons { Ok, OkCancel, YesNo, YesNoCancel, YesNoDefaultNo };
enum class MessageAnswer { Ok, Cancel, Yes, No };

// A place the folder picker offers to jump to: the home folder, a mounted volume.
struct FolderPlace {
    QString label;
    std::string path;
};

// What the folder picker is asked to show: its window caption, the prompt above the tree, the
// folder at the top of the tree, the folder selected at the start (paths as bytes) and the
// places beside the tree.
struct FolderRequest {
    QString caption;
    QString prompt;
    std::string root;
    std::string start;
    std::vector<FolderPlace> places;
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

// One application the Open With dialog offers.
struct ApplicationChoice {
    std::string id; // the desktop entry's id ("org.gnome.TextEditor.desktop")
    QString name;
    QString iconName; // a theme icon name; empty when the application names none
};

// The Open With dialog: the file, its type, the applications for that type and all the others.
struct OpenWithRequest {
    std::string path;
    QString contentType; // "text/plain"
    std::vector<ApplicationChoice> forType;
    std::vector<ApplicationChoice> others;
};
// The chosen application's id, or a command line of the user's own; both empty on cancel.
struct OpenWithAnswer {
    std::string applicationId;
    QString commandLine;
};

// A name a copy finds already at its target: what to do with it, and whether with every other
// such name too.
enum class ConflictChoice { Skip, Replace, Cancel };
struct ConflictAnswer {
    ConflictChoice choice = ConflictChoice::Cancel;
    bool forAll = false;
};

// What mounting a share asks for: a login (GIO's message, the fields it needs, its defaults).
struct MountLogin {
    QString message;
    QString user;
    QString domain;
    bool needUser = false;
    bool needDomain = false;
    bool needPassword = false;
    bool anonymousAllowed = false;
};
struct MountLoginAnswer {
    bool cancelled = true;
    bool anonymous = false;
    QString user;
    QString domain;
    QString password;
};

// Every modal interaction of the program goes through here: the program uses real dialogs, tests
// a scripted double that records each question and answers from a queue. Boxes are owned by the
// window the user is working in.
class Prompts {
public:
    virtual ~Prompts() = default;

    // A message box titled `title` (the application title when empty).
    virtual MessageAnswer Message(const QString& text, MessageIcon icon, MessageButtons buttons,
                                  const QString& title = {}) = 0;
    // The folder picker; an empty path when the user cancels.
    virtual std::string PickFolder(const FolderRequest& request) = 0;
    // The save dialog; asks before replacing a file.
    virtual SaveAnswer SaveFile(const SaveRequest& request) = 0;
    // The Open With dialog.
    virtual OpenWithAnswer ChooseApplication(const OpenWithRequest& request) = 0;
    // The program's own properties of a file or folder, for desktops whose file manager shows none.
    virtual void ShowFileProperties(const std::string& path) = 0;
    // The colour picker over a colour (0x00BBGGRR) with the 16 custom colours, which it may
    // change; nothing on cancel.
    virtual std::optional<int32_t> ChooseColor(int32_t bgr, std::array<int32_t, 16>& custom) = 0;
    // Skip, Replace or Cancel for a name already at a copy's target, with "for all remaining".
    virtual ConflictAnswer AskConflict(const QString& text) = 0;
    // A line of text (a new folder's name) under `label`, `text` offered; nothing on cancel.
    virtual std::optional<QString> AskText(const QString& title, const QString& label,
                                           const QString& text) = 0;
    // A share being mounted asks for a login.
    virtual MountLoginAnswer AskMountLogin(const MountLogin& request) = 0;
    // A share being mounted asks a question (an unknown host key): the choice's index, -1 on
    // cancel.
    virtual int AskMountChoice(const QString& message, const QStringList& choices) = 0;
};

// Prompts where nobody answers (the command line, the development tools): every dialog is
// declined and every question skipped; only messages are left to say how they are told.
// `Base` is Prompts or an interface that extends it.
template <class Base = Prompts> class NobodyToAsk : public Base {
public:
    std::string PickFolder(const FolderRequest&) override { return {}; }
    SaveAnswer SaveFile(const SaveRequest&) override { return {}; }
    OpenWithAnswer ChooseApplication(const OpenWithRequest&) override { return {}; }
    void ShowFileProperties(const std::string&) override {}
    std::optional<int32_t> ChooseColor(int32_t, std::array<int32_t, 16>&) override { return {}; }
    ConflictAnswer AskConflict(const QString&) override { return {ConflictChoice::Skip, true}; }
    std::optional<QString> AskText(const QString&, const QString&, const QString&) override {
        return {};
    }
    MountLoginAnswer AskMountLogin(const MountLogin&) override { return {}; }
    int AskMountChoice(const QString&, const QStringList&) override { return -1; }
};

// The application title, also the main window's caption: " Tallymoor", leading blank included.
inline const QString kApplicationTitle = QStringLiteral(" Tallymoor");
