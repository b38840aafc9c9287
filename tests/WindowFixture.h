#pragma once

#include "ScriptedPrompts.h"
#include "TestTree.h"
#include "app/ResultListModel.h"
#include "app/frmMain.h"
#include "platform/CancelFlag.h"
#include "settings/modPProfile.h"

#include <QApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QTreeView>
#include <gtest/gtest.h>
#include <memory>

// A main window on a fresh settings file, with scripted prompts, a recording desktop and a
// tree of its own to search. The prompts are checked for leftovers after the window is gone.
class WindowFixture : public testing::Test {
protected:
    void SetUp() override {
        profile = std::make_unique<modPProfile>(config.Path("tallymoor.ini"), "/home/ann");
        profile->Start();
        window = std::make_unique<frmMain>(*profile, prompts, desktop, cancel);
        window->show();
    }

    template <class T> T* Find(const QString& name) const {
        T* widget = window->findChild<T*>(name);
        EXPECT_NE(widget, nullptr) << name.toStdString();
        return widget;
    }
    QString Text(const char* label) const { return Find<QLabel>(label)->text(); }
    QString Status(StatusPart part) const { return window->Status().Text(part); }

    // Types a root and a mask and presses Begin Search.
    void Search(const std::string& root, const QString& mask) {
        Find<QLineEdit>("txtStartPath")->setText(QString::fromStdString(root));
        Find<QLineEdit>("txtObjMask")->setText(mask);
        Find<QPushButton>("cmdSearch")->click();
    }

    // What a list shows, row by row.
    QStringList Rows(const char* list) const {
        QStringList rows;
        const QAbstractItemModel* model = Find<QTreeView>(list)->model();
        for (int r = 0; r < model->rowCount(); ++r) {
            const QVariant path = model->index(r, 0).data(ResultListModel::FullPathRole);
            rows << (path.isValid() ? path : model->index(r, 0).data()).toString();
        }
        return rows;
    }
    void SelectRows(std::initializer_list<int> rows, const char* list = "List1") const {
        auto* view = Find<QTreeView>(list);
        for (const int row : rows) {
            view->selectionModel()->select(view->model()->index(row, 0),
                                           QItemSelectionModel::Select | QItemSelectionModel::Rows);
        }
    }

    // A menu entry of the menu bar, by its caption as shown (access key marks dropped).
    QAction* Action(const QString& text) const {
        for (QAction* menu : window->menuBar()->actions()) {
            for (QAction* action : menu->menu()->actions()) {
                if (action->text().remove(QLatin1Char('&')) == text) {
                    return action;
                }
            }
        }
        ADD_FAILURE() << "no menu entry " << text.toStdString();
        return nullptr;
    }

    static void Key(QWidget* widget, int key, Qt::KeyboardModifiers modifiers = {}) {
        QKeyEvent press(QEvent::KeyPress, key, modifiers);
        QApplication::sendEvent(widget, &press);
    }

    TestTree tree;
    TestTree config;
    ScriptedPrompts prompts;
    RecordingDesktop desktop;
    CancelFlag cancel;
    std::unique_ptr<modPProfile> profile;
    std::unique_ptr<frmMain> window;
};
