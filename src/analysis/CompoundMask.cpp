#include "analysis/CompoundMask.h"

#include "search/FileDataArray.h"
#include "search/SortStrings.h"
#include "text/PathText.h"

#include <QMimeDatabase>
#include <QRegularExpression>
#include <algorithm>
#include <map>

std::vector<std::string> OfferedExtensions(const FileDataArray& store) {
    std::vector<std::string> all;
    all.reserve(static_cast<size_t>(store.UBound() + 1));
    for (int32_t i = 0; i <= store.UBound(); ++i) {
        all.push_back(LowerCaseName(store[i].Extension()));
    }
    SortStrings(all, 0, static_cast<int>(all.size()) - 1);
    std::vector<std::string> offered;
    for (std::string& extension : all) {
        if (!extension.empty() && (offered.empty() || offered.back() != extension)) {
            offered.push_back(std::move(extension));
        }
    }
    return offered;
}

std::string CompoundMaskText(const std::vector<std::string>& extensions) {
    std::string mask;
    for (const std::string& extension : extensions) {
        mask += "*" + extension + "; ";
    }
    return mask;
}

std::vector<int32_t> RecordsOfExtensions(const FileDataArray& store,
                                         const std::vector<std::string>& extensions,
                                         const std::function<void()>& yield) {
    // Each extension ends in a NUL in the key, so only whole extensions match.
    std::string key;
    for (const std::string& extension : extensions) {
        key += extension;
        key += '\0';
    }
    key = LowerCaseName(key);
    std::erase(key, ';');
    std::vector<int32_t> records;
    for (int32_t i = 0; i <= store.UBound(); ++i) {
        const std::string_view extension = store[i].Extension();
        if (!extension.empty() && key.find(std::string(extension) + '\0') != std::string::npos) {
            records.push_back(i);
        }
        if (yield && (i + 1) % 1000 == 1) {
            yield();
        }
    }
    return records;
}

std::string ExtensionOfPath(const std::string& path) {
    const std::string_view name = SplitPath(path).name;
    const size_t dot = name.rfind('.');
    return dot == std::string_view::npos || dot == 0 ? std::string()
                                                     : std::string(name.substr(dot));
}

std::vector<RegisteredType> RegisteredTypes(int dosLength) {
    std::map<std::string, QString> types; // the first type to claim a suffix names it
    const QMimeDatabase database;
    for (const QMimeType& type : database.allMimeTypes()) {
        for (const QString& suffix : type.suffixes()) {
            if (suffix.contains(QRegularExpression(QStringLiteral("[][*?]")))) {
                continue; // a pattern ("[1-9]" of manual pages), not a suffix
            }
            const std::string extension = "." + suffix.toLower().toStdString();
            if (dosLength <= 0 || static_cast<int>(extension.size()) <= dosLength) {
                types.emplace(extension, type.comment());
            }
        }
    }
    std::vector<RegisteredType> list;
    list.reserve(types.size());
    for (auto& [extension, name] : types) {
        list.push_back({extension, name});
    }
    return list;
}

std::vector<QString> MaskExtensions(const QString& mask) {
    std::vector<QString> extensions;
    if (mask.isEmpty() || mask == QStringLiteral("*.*")) {
        return extensions;
    }
    QString text = mask;
    text.remove(QLatin1Char('*'));
    for (const QString& part : text.split(QStringLiteral("; "))) {
        if (!part.trimmed().isEmpty()) {
            extensions.push_back(part.trimmed());
        }
    }
    return extensions;
}
