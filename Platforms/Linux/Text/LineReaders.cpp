#include "Platforms/Linux/Text/LineReaders.hpp"

#include <dlfcn.h>
#include <malloc.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

namespace Linux {

namespace {

constexpr const char* english = "eng";
constexpr std::size_t mostReaders = 2; // each takes its memory, and the page is soon read

// Language codes of two letters, and what Tesseract calls them where that is not one of three from the same
// list.
constexpr std::pair<std::string_view, std::string_view> languages[] = {
    {"af", "afr"},    {"ar", "ara"}, {"be", "bel"}, {"bg", "bul"}, {"bn", "ben"}, {"bs", "bos"},
    {"ca", "cat"},    {"cs", "ces"}, {"cy", "cym"}, {"da", "dan"}, {"de", "deu"}, {"el", "ell"},
    {"en", "eng"},    {"eo", "epo"}, {"es", "spa"}, {"et", "est"}, {"eu", "eus"}, {"fa", "fas"},
    {"fi", "fin"},    {"fr", "fra"}, {"ga", "gle"}, {"gl", "glg"}, {"gu", "guj"}, {"he", "heb"},
    {"hi", "hin"},    {"hr", "hrv"}, {"hu", "hun"}, {"hy", "hye"}, {"id", "ind"}, {"is", "isl"},
    {"it", "ita"},    {"ja", "jpn"}, {"ka", "kat"}, {"kk", "kaz"}, {"km", "khm"}, {"kn", "kan"},
    {"ko", "kor"},    {"lt", "lit"}, {"lv", "lav"}, {"mk", "mkd"}, {"ml", "mal"}, {"mr", "mar"},
    {"ms", "msa"},    {"mt", "mlt"}, {"my", "mya"}, {"nb", "nor"}, {"ne", "nep"}, {"nl", "nld"},
    {"nn", "nor"},    {"no", "nor"}, {"pa", "pan"}, {"pl", "pol"}, {"pt", "por"}, {"ro", "ron"},
    {"ru", "rus"},    {"si", "sin"}, {"sk", "slk"}, {"sl", "slv"}, {"sq", "sqi"}, {"sr", "srp"},
    {"sv", "swe"},    {"sw", "swa"}, {"ta", "tam"}, {"te", "tel"}, {"th", "tha"}, {"tl", "tgl"},
    {"tr", "tur"},    {"uk", "ukr"}, {"ur", "urd"}, {"uz", "uzb"}, {"vi", "vie"}, {"yi", "yid"},
    {"zh", "chi_sim"}};

bool isTraditionalChinese(std::string_view locale) {
    return locale.starts_with("zh_TW") || locale.starts_with("zh_HK") || locale.starts_with("zh_MO") ||
           locale.starts_with("zh_Hant");
}

std::string dataFile(std::string_view language) {
    return std::string(language) + ".traineddata";
}

/// In the folder of libraries beside that of the program, or wherever the program says that it looks.
std::string libraryPath() {
    std::error_code ignored;
    const auto beside = std::filesystem::read_symlink("/proc/self/exe", ignored).parent_path().parent_path() /
                        "lib" / "zorbel" / lineReaderLibrary;
    return std::filesystem::exists(beside, ignored) ? beside.string() : lineReaderLibrary;
}

/// Null where the library or one of those that it needs is not installed. Once loaded it stays: what it
/// brought along is not made to be taken away.
LineReaderFactory factory() {
    void* library = ::dlopen(libraryPath().c_str(), RTLD_NOW | RTLD_LOCAL);
    return library ? reinterpret_cast<LineReaderFactory>(::dlsym(library, lineReaderFactory)) : nullptr;
}

} // namespace

std::filesystem::path textDataFolder() {
    if (const char* prefix = std::getenv("TESSDATA_PREFIX"); prefix && *prefix) {
        return prefix;
    }
    std::error_code ignored;
    for (const char* folder : {"/usr/share/tesseract-ocr/5/tessdata", "/usr/share/tessdata",
                               "/usr/local/share/tessdata", "/usr/share/tesseract-ocr/4.00/tessdata"}) {
        if (std::filesystem::is_directory(folder, ignored)) {
            return folder;
        }
    }
    return "/usr/share/tesseract-ocr/5/tessdata";
}

std::string textLanguages(const std::string& locale, const std::filesystem::path& dataFolder) {
    const auto isInstalled = [&](std::string_view language) {
        std::error_code ignored;
        return std::filesystem::is_regular_file(dataFolder / dataFile(language), ignored);
    };
    const std::string_view code = std::string_view(locale).substr(0, locale.find_first_of("_-.@"));
    const auto* found = std::find_if(std::begin(languages), std::end(languages),
                                     [&](const auto& language) { return language.first == code; });
    std::string result;
    if (found != std::end(languages)) {
        const std::string_view language = isTraditionalChinese(locale) ? "chi_tra" : found->second;
        if (language != english && isInstalled(language)) {
            result = language;
        }
    }
    if (isInstalled(english)) {
        result += result.empty() ? "" : "+";
        result += english;
    }
    return result;
}

bool LineReaders::start() {
    if (areStarted()) {
        return true;
    }
    const auto folder = textDataFolder();
    const std::string names = textLanguages(locale_, folder);
    if (names.empty()) {
        complain(dataFile(english) + " in " + folder.string());
        return false;
    }
    const auto make = factory();
    if (!make) {
        const char* error = ::dlerror();
        complain(error ? error : lineReaderLibrary);
        return false;
    }
    const std::size_t count = std::clamp<std::size_t>(std::thread::hardware_concurrency(), 1, mostReaders);
    while (readers_.size() < count) {
        std::unique_ptr<LineReader> reader(make(folder.c_str(), names.c_str()));
        if (!reader) {
            stop();
            complain("whole data for " + names + " in " + folder.string());
            return false;
        }
        readers_.push_back(std::move(reader));
    }
    return true;
}

void LineReaders::stop() {
    readers_.clear();
    ::malloc_trim(0);
}

void LineReaders::complain(const std::string& reason) {
    if (complaint_ != reason) {
        complaint_ = reason;
        std::fprintf(stderr, "zorbel: no text is read without %s\n", reason.c_str());
    }
}

} // namespace Linux
