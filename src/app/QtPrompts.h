#pragma once

#include "platform/WindowPrompts.h"

#include <QCoreApplication>
#include <QFontMetrics>
#include <QPointer>
#include <QWidget>

// A message's text laid out so that a path it quotes stays whole: its blanks do not break, it
// goes to a line of its own when its line is wider than `room`, and only a path wider than that
// is broken, after a "/". `widest` receives the width of the longest line.
QString KeepPathsWhole(const QString& text, const QFontMetrics& metrics, int room, int& widest);

// The real dialogs. Each box belongs to the modal dialog the user is working in, else to the
// window given by SetOwner, so that it stays above it and is placed over it.
class QtPrompts : public WindowPrompts {
    Q_DECLARE_TR_FUNCTIONS(QtPrompts)

public:
    void SetOwner(QWidget* owner) { owner_ = owner; }

    MessageAnswer Message(const QString& text, MessageIcon icon, MessageButtons buttons,
                          const QString& title = {}) override;
    std::string PickFolder(const FolderRequest& request) override;
    SaveAnswer SaveFile(const SaveRequest& request) override;
    OpenWithAnswer ChooseApplication(const OpenWithRequest& request) override;
    void ShowFileProperties(const std::string& path) override;
    ConflictAnswer AskConflict(const QString& text) override;
    std::optional<int32_t> ChooseColor(int32_t bgr, std::array<int32_t, 16>& custom) override;
    std::optional<QString> AskText(const QString& title, const QString& label,
                                   const QString& text) override;
    MountLoginAnswer AskMountLogin(const MountLogin& request) override;
    int AskMountChoice(const QString& message, const QStringList& choices) override;
    int ShowModal(QDialog* dialog) override;

private:
    QWidget* Owner() const;

    QPointer<QWidget> owner_;
};
