#include "Platforms/Linux/Text/LineReader.hpp"

#include <dlfcn.h>

#include <exception>
#include <leptonica/allheaders.h>
#include <memory>
#include <string>
#include <tesseract/baseapi.h>
#include <tesseract/ocrclass.h>
#include <vector>

namespace Linux {

namespace {

/// Tesseract has threads of its own for one line, which wait for one another for longer than they work. The
/// variable of the environment that limits them was read when the program started, if another library had
/// brought theirs along by then. What is said here holds for the calling thread.
void keepToThisThread() {
    using SetLevels = void (*)(int levels);
    static const auto setLevels =
        reinterpret_cast<SetLevels>(::dlsym(RTLD_DEFAULT, "omp_set_max_active_levels"));
    if (setLevels) {
        setLevels(0);
    }
}

class TesseractLineReader : public LineReader {
public:
    bool start(const char* dataFolder, const char* languages) {
        // Some of what it has to say it says while it starts.
        engine_.SetVariable("debug_file", "/dev/null");
        if (engine_.Init(dataFolder, languages, tesseract::OEM_LSTM_ONLY) != 0) {
            return false;
        }
        engine_.SetVariable("debug_file", "/dev/null");
        engine_.SetVariable("tessedit_do_invert", "0");
        engine_.SetPageSegMode(tesseract::PSM_SINGLE_LINE);
        return true;
    }

    LineReading read(const GreyPicture& line, const std::atomic<bool>& isCancelled) noexcept override {
        try {
            keepToThisThread();
            engine_.SetImage(line.grey.data(), line.width, line.height, 1, line.width);
            engine_.SetSourceResolution(resolution);
            tesseract::ETEXT_DESC monitor;
            monitor.cancel = [](void* cancelled, int) {
                return static_cast<const std::atomic<bool>*>(cancelled)->load();
            };
            monitor.cancel_this = const_cast<std::atomic<bool>*>(&isCancelled);
            if (engine_.Recognize(&monitor) != 0 || isCancelled) {
                return {};
            }
            return words();
        } catch (const std::exception&) {
            return {};
        }
    }

    void clear() noexcept override {
        engine_.Clear();
        engine_.ClearAdaptiveClassifier();
    }

private:
    static constexpr int resolution = 200; // dots per inch, as far as the engine is concerned

    LineReading words() {
        LineReading reading;
        const std::unique_ptr<char[]> text(engine_.GetUTF8Text());
        if (!text) {
            return reading;
        }
        for (const char* letter = text.get(); *letter; ++letter) {
            const bool isSpace = *letter == '\n' || *letter == '\f' || *letter == ' ';
            if (!isSpace) {
                reading.text += *letter;
            } else if (!reading.text.empty() && reading.text.back() != ' ') {
                reading.text += ' ';
            }
        }
        while (!reading.text.empty() && reading.text.back() == ' ') {
            reading.text.pop_back();
        }
        reading.confidence = static_cast<float>(engine_.MeanTextConf());
        return reading;
    }

    tesseract::TessBaseAPI engine_;
};

} // namespace

extern "C" __attribute__((visibility("default"))) LineReader* zorbelLineReader(const char* dataFolder,
                                                                               const char* languages) {
    try {
        setMsgSeverity(L_SEVERITY_NONE);
        auto reader = std::make_unique<TesseractLineReader>();
        return reader->start(dataFolder, languages) ? reader.release() : nullptr;
    } catch (const std::exception&) {
        return nullptr;
    }
}

} // namespace Linux
