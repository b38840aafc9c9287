#pragma once

#include "ScriptedPrompts.h"
#include "TestTree.h"
#include "app/frmMain.h"
#include "platform/CancelFlag.h"
#include "settings/modPProfile.h"

#include <QLineEdit>
#include <QPushButton>
#include <gtest/gtest.h>
#include <memory>

// A main window on a fresh settings file, with scripted prompts, a recording desktop and a
// tree of its own to search.
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

    // Types a root and a mask and presses Begin Search.
    void Search(const std::string& root, const QString& mask) {
        Find<QLineEdit>("txtStartPath")->setText(QString::fromStdString(root));
        Find<QLineEdit>("txtObjMask")->setText(mask);
        Find<QPushButton>("cmdSearch")->click();
    }

    TestTree tree;
    TestTree config;
    ScriptedPrompts prompts;
    RecordingDesktop desktop;
    CancelFlag cancel;
    std::unique_ptr<modPProfile> profile;
    std::unique_ptr<frmMain> window;
};
