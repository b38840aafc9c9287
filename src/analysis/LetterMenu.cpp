#include "analysis/LetterMenu.h"

#include <QListWidget>
#include <QMenuBar>

LetterMenu::LetterMenu(QMenuBar* bar, QListWidget* list) : QObject(bar), list_(list) {
    QMenu* alpha = bar->addMenu(tr("&Letter"));
    alpha->setObjectName("zmnuAlpha");
    for (int i = 0; i < 26; ++i) {
        // The letter is its own access key: typed in the open menu, it jumps.
        mnuAlpha_[i] =
            alpha->addAction(QLatin1Char('&') + QChar(65 + i), this, [this, i] { Jump(i); });
        mnuAlpha_[i]->setObjectName(QStringLiteral("mnuAlpha_%1").arg(i));
    }
}

void LetterMenu::Refresh() {
    std::array<bool, 26> enabled{};
    for (int row = 0; row < list_->count(); ++row) {
        const QString text = list_->item(row)->text();
        const qsizetype dot = text.indexOf(QLatin1Char('.'));
        if (dot >= 0 && dot + 1 < text.size()) {
            const char16_t c = text[dot + 1].toLower().unicode();
            if (c >= u'a' && c <= u'z') {
                enabled[static_cast<size_t>(c - u'a')] = true;
            }
        }
    }
    for (size_t i = 0; i < enabled.size(); ++i) {
        mnuAlpha_[i]->setEnabled(enabled[i]);
    }
}

void LetterMenu::Jump(int index) {
    if (list_->count() == 0) {
        return;
    }
    const QString prefix = QLatin1Char('.') + QChar(97 + index);
    for (int row = 0; row < list_->count(); ++row) {
        QListWidgetItem* item = list_->item(row);
        if (item->text().startsWith(prefix, Qt::CaseInsensitive)) {
            list_->setFocus();
            list_->clearSelection();
            list_->scrollToItem(item, QAbstractItemView::PositionAtTop);
            return;
        }
    }
    mnuAlpha_[static_cast<size_t>(index)]->setEnabled(false);
}
