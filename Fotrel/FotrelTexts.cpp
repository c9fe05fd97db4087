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
    if (!hasText(capture)) {
        return "No text in this one";
    }
    return std::to_string(std::ranges::count(*capture.text, '\n') + 1) + " lines of text found";
}

std::string detailText(const Capture& capture, std::string_view time) {
    return std::string(time) + " · " + std::to_string(capture.image.width()) + " × " +
           std::to_string(capture.image.height());
}

std::string spokenText(const Capture& capture, std::string_view time) {
    return "Capture of " + std::string(time) + ", " + std::to_string(capture.image.width()) + " by " +
           std::to_string(capture.image.height()) + " pixels: " + statusText(capture);
}

bool hasText(const Capture& capture) {
    return capture.text && !capture.text->empty();
}

} // namespace Fotrel
