#pragma once

#include "Fotrel/TextRecogniser.hpp"
#include "ZorbelKit/Time.hpp"

#include <memory>
#include <string>
#include <vector>

namespace Linux {

/// Reads with Tesseract, on a thread of its own that exists while there is something to read or to keep warm.
/// The library is loaded with the first reading and its memory given back some time after the last one.
class TesseractRecogniser : public Fotrel::TextRecogniser {
public:
    struct Settings {
        std::string locale; // "en_GB": its language is read where its data are installed, and English
        ZorbelKit::Seconds kept{45}; // after the last reading, while nobody keeps it warm
    };

    explicit TesseractRecogniser(Settings settings);
    TesseractRecogniser(const TesseractRecogniser&) = delete;
    TesseractRecogniser& operator=(const TesseractRecogniser&) = delete;
    ~TesseractRecogniser() override; // what is not read yet is not read any more

    void recognise(const ZorbelKit::Picture& picture, ZorbelKit::Priority priority,
                   std::function<void(Lines lines)> done) override;
    ZorbelKit::Token keepWarm() override;

private:
    class Worker;
    std::shared_ptr<Worker> worker_;
};

} // namespace Linux
