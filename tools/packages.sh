# Debian packages the project needs, by purpose; sourced by the scripts in the top folder.
#
#   need build test      installs what is missing of these groups, and nothing when all is there

packages_build="g++ cmake ninja-build ccache pkg-config qt6-base-dev qt6-svg-dev libqt6svg6 libxcb1-dev libxcb-randr0-dev libxcb-res0-dev libxcb-xfixes0-dev libicu-dev libpng-dev libpulse-dev libtesseract-dev libleptonica-dev nlohmann-json3-dev libgtest-dev libbenchmark-dev"
packages_run="fonts-inter maim slop x11-utils grim slurp tesseract-ocr-eng"
packages_test="maim slop grim slurp sway swaybg tesseract-ocr-eng fonts-dejavu-core xvfb xauth x11-utils x11-xserver-utils openbox wmctrl dbus at-spi2-core libatspi2.0-dev libxcb-xtest0-dev libglib2.0-bin gvfs gvfs-daemons procps fonts-inter xfce4-panel xfconf libgtk-3-dev libayatana-appindicator3-dev flameshot pasystray parcellite xclip mousepad xterm xfwm4 metacity i3-wm xcompmgr xserver-xorg-core xserver-xorg-video-dummy pulseaudio pulseaudio-utils pipewire pipewire-pulse wireplumber upower umockdev libumockdev-dev gir1.2-umockdev-1.0 python3-gi python3-dbusmock thunar pcmanfm-qt featherpad xdotool"
packages_display="xclip xterm xvfb x11-utils x11-xserver-utils openbox wmctrl dbus fonts-inter libxcb-xtest0-dev"
packages_bench="maim tesseract-ocr tesseract-ocr-eng fonts-dejavu-core fonts-liberation xvfb x11-utils x11-xserver-utils openbox wmctrl dbus fonts-inter libxcb-xtest0-dev libxcb-damage0-dev conky-std libdbus-1-dev xfce4-panel xfconf copyq xterm xdotool pulseaudio pulseaudio-utils"
packages_format="clang-format clang-tidy clang"

need() {
    local group list missing=()
    for group in "$@"; do
        list="packages_$group"
        for package in ${!list}; do
            dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null | grep -qx installed || missing+=("$package")
        done
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    local as_root=()
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null || { echo "These Debian packages are missing, and neither root nor sudo is at hand: ${missing[*]}" >&2; return 1; }
        as_root=(sudo)
    fi
    echo "Installing: ${missing[*]}"
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update -qq &&
        "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}

# configure_and_build PRESET TARGETS [cmake option…]: quiet when all goes well; the build's own words when it fails.
configure_and_build() {
    local preset=$1 targets=$2 log
    shift 2
    log=$(mktemp)
    # shellcheck disable=SC2086 # several targets
    if ! { cmake --preset "$preset" "$@" && cmake --build --preset "$preset" --target $targets; } >"$log" 2>&1; then
        tail -n 80 "$log" >&2
        rm -f "$log"
        return 1
    fi
    grep -E 'warning:' "$log" >&2 || true # none is good news
    rm -f "$log"
}
