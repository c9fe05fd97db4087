# Compiler settings shared by every target, and the helper that declares a library.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE Release CACHE STRING "Build type" FORCE)
endif()

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM)
    set(CMAKE_CXX_COMPILER_LAUNCHER "${CCACHE_PROGRAM}")
endif()

add_compile_options(-Wall -Wextra -Wpedantic -Wconversion -Wshadow)
if(ZORBEL_WERROR)
    add_compile_options(-Werror)
endif()

if(ZORBEL_SANITIZE)
    add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
    add_link_options(-fsanitize=address,undefined)
endif()

# Qt must not take plain words such as "signals" and "emit" from the language.
add_compile_definitions(QT_NO_KEYWORDS)

# Unused sections go: the program holds ten utilities in one small process.
add_compile_options(-ffunction-sections -fdata-sections)
if(NOT APPLE)
    add_link_options(-Wl,--gc-sections -Wl,-O1 -Wl,--as-needed)
endif()

# Where programs look for what they load when it is needed: in the build folder, and beside an installed program.
set(CMAKE_BUILD_RPATH "${CMAKE_BINARY_DIR}/lib/zorbel")
set(CMAKE_INSTALL_RPATH "$ORIGIN/../lib/zorbel")

# zorbel_library(NAME source…): a static library whose headers are included as "NAME/Header.hpp".
function(zorbel_library name)
    add_library(${name} STATIC ${ARGN})
    target_include_directories(${name} PUBLIC "${CMAKE_SOURCE_DIR}")
endfunction()

# zorbel_spice(NAME source…): one spice. It sees the kit and nothing else: spices never include one another.
function(zorbel_spice name)
    zorbel_library(${name} ${ARGN})
    target_link_libraries(${name} PUBLIC ZorbelKit)
endfunction()
