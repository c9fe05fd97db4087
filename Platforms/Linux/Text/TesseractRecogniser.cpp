#include "Platforms/Linux/Text/TesseractRecogniser.hpp"

namespace Linux {

class TesseractRecogniser::Worker {};

TesseractRecogniser::TesseractRecogniser(Settings /*settings*/)
    : worker_(std::make_shared<Worker>()) {
}

TesseractRecogniser::~TesseractRecogniser() = default;

void TesseractRecogniser::recognise(const ZorbelKit::Picture& /*picture*/, ZorbelKit::Priority /*priority*/,
                                    std::function<void(Lines lines)> done) {
    done(std::nullopt);
}

ZorbelKit::Token TesseractRecogniser::keepWarm() {
    return {};
}

} // namespace Linux
