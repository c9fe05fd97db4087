#pragma once

#include "ZorbelKit/Host/Pasteboard.hpp"

#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace Simulated {

/// A pasteboard on which tests copy as other programs do. It counts every change, watched or not.
class SimulatedPasteboard : public ZorbelKit::Pasteboard {
public:
    struct Content {
        std::vector<ZorbelKit::PasteboardUrl> urls;
        std::optional<ZorbelKit::SharedText> text;
        std::set<ZorbelKit::PictureType> pictures;
        std::optional<ZorbelKit::Picture> picture{}; // ours
    };

    /// Another program copies.
    void put(Content content) {
        content_ = std::move(content);
        ++count_;
    }
    void putText(ZorbelKit::SharedText text) { put({.urls = {}, .text = std::move(text), .pictures = {}}); }
    void putFiles(const std::vector<std::string>& paths) {
        Content content;
        for (const std::string& path : paths) {
            content.urls.push_back({"file://" + path, path});
        }
        put(std::move(content));
    }
    void putLink(const std::string& url) {
        put({.urls = {{url, std::nullopt}}, .text = url, .pictures = {}});
    }
    void putPicture(ZorbelKit::PictureType type) {
        put({.urls = {}, .text = std::nullopt, .pictures = {type}});
    }

    ZorbelKit::Token watch() override {
        ++*watchers_;
        return ZorbelKit::Token([watchers = watchers_] { --*watchers; });
    }
    std::int64_t changeCount() const override { return count_; }
    std::vector<ZorbelKit::PasteboardUrl> urls() const override {
        ++reads;
        return content_.urls;
    }
    std::optional<ZorbelKit::SharedText> string() const override {
        ++reads;
        return content_.text;
    }
    bool hasPicture(ZorbelKit::PictureType type) const override {
        ++reads;
        return content_.pictures.contains(type);
    }
    void setString(const ZorbelKit::SharedText& text) override { putText(text); }
    void setPicture(const ZorbelKit::Picture& picture) override {
        if (!picture.isEmpty()) {
            putPicture(ZorbelKit::PictureType::png);
            content_.picture = picture;
        }
    }
    std::string watchingHint() const override { return hint; }

    int watchers() const { return *watchers_; }
    const Content& content() const { return content_; }

    std::string hint;
    mutable int reads = 0; // of content, not of the count

private:
    std::int64_t count_ = 0;
    Content content_;
    std::shared_ptr<int> watchers_ = std::make_shared<int>(0);
};

} // namespace Simulated
