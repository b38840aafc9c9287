#pragma once

#include <QUrl>

// Every request to the desktop goes through here, so tests record what would be launched.
class Desktop {
public:
    virtual ~Desktop() = default;
    // Opens a web page or a file with the desktop's associated application.
    virtual bool OpenUrl(const QUrl& url) = 0;
};

class QtDesktop : public Desktop {
public:
    bool OpenUrl(const QUrl& url) override;
};
