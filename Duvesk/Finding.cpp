#include "Duvesk/Finding.hpp"

namespace Duvesk {

std::string_view kindText(Kind kind) {
    switch (kind) {
    case Kind::cache:
        return "Cache";
    case Kind::large:
        return "Large file";
    case Kind::leftover:
        return "Left behind";
    }
    return {};
}

} // namespace Duvesk
