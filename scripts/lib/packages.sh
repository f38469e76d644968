# shellcheck shell=bash disable=SC2034
# Debian packages that Quillo's scripts install. Read by scripts/setup; one purpose an array.

# Compiling the program and its unit tests.
buildPackages=(
    g++ cmake ninja-build ccache pkg-config
    qt6-base-dev qt6-base-private-dev qt6-svg-dev
    libsimdjson-dev libxxhash-dev libicu-dev libboost-dev libsecret-1-dev libglib2.0-dev zlib1g-dev
    libxcb1-dev libxcb-keysyms1-dev
)

# Running it against the local sandbox. scripts/setup adds Node.js and npm where they are missing.
runPackages=(
    ca-certificates dbus openssl xdg-utils
    libqt6svg6 libxcb-cursor0
    libsecret-tools python3-gi gir1.2-glib-2.0
)

# A desktop of its own where there is no display: X server, window manager, panel, secret store,
# and the eyes and hands of the scripts that look at it.
desktopPackages=(
    xvfb xauth openbox
    xfce4-panel xfconf xfce4-indicator-plugin ayatana-indicator-application
    adwaita-icon-theme librsvg2-common fonts-dejavu-core fonts-noto-core fonts-droid-fallback
    gnome-keyring gcr
    at-spi2-core imagemagick xdotool x11-utils
    python3-pyatspi gir1.2-atspi-2.0
)

# Checking and testing.
testPackages=(
    shellcheck clang clang-format-14 clang-tidy-14 libclang-rt-14-dev cppcheck
    python3-pytest python3-dbusmock python3-selenium python3-jsonschema python3-yaml
    chromium chromium-driver mate-panel xfce4-session
    libbenchmark-dev libdbus-1-dev libxcb-xtest0-dev curl jq gir1.2-ayatanaappindicator3-0.1
    dex desktop-file-utils appstream libglib2.0-bin xdg-desktop-portal bubblewrap xdg-dbus-proxy
    xfwm4 metacity sway waybar grim lxqt-panel qt6-wayland
    man-db mandoc x11-utils x11-xkb-utils x11-xserver-utils xinput
)

# Building and checking the Debian package, here or in a system of its own.
packagingPackages=(dpkg-dev debhelper lintian debootstrap locales python3-pytest)
