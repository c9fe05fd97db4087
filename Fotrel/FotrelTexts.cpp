#include "Fotrel/FotrelTexts.hpp"

#include <algorithm>

namespace Fotrel {

std::string errorText(std::string_view why) {
    return "Could not start screencapture. " + std::string(why);
}

std::string joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) {
        text += (&line == &lines.front() ? "" : "\n") + line;
    }
    return text;
}

std::string saveName(std::string_view dateAndTime) {
    std::string name = "Fotrel " + std::string(dateAndTime) + ".png";
    std::ranges::replace(name, '/', '-');
    return name;
}

std::string statusText(const Capture& capture) {
    if (capture.isReading) {
        return "Reading the text";
    }
    if (!capture.text || capture.text->empty()) {
        return "No text in this one";
    }
    return std::to_string(std::ranges::count(*capture.text, '\n') + 1) + " lines of text found";
}

} // namespace Fotrel
