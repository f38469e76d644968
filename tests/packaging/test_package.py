"""The Debian package in a bare system of its own. scripts/test --package builds the package and runs this, as root."""

import os
import pathlib
import shlex
import shutil
import subprocess

import pytest

from harness.sandbox import turn_at_fixed_ports

ROOT = pathlib.Path(__file__).resolve().parents[2]
FOLDER = ROOT / "build/package-test"
TREE = FOLDER / "tree"


class System:
    """A bare Debian in a folder, without this machine's processes and files but with its network."""

    def __init__(self):
        archive = ROOT / "build/bare-system.tar"
        if not archive.exists():
            subprocess.run([ROOT / "scripts/lib/bare-system", archive], check=True)
        TREE.mkdir()
        subprocess.run(["tar", "-C", TREE, "-xf", archive], check=True)
        (TREE / "packages").mkdir()
        self.run("apt-get update -q")

    def run(self, script):
        """Runs a shell script as the system's root, up to the first command that fails."""
        subprocess.run([ROOT / "scripts/lib/in-tree", TREE, "bash", "-eo", "pipefail", "-c", script], check=True)

    def add_package(self, name, file):
        shutil.copy(file, TREE / "packages" / name)

    def add_checkout(self):
        """What the tests need of the last commit, with the sandbox's modules."""
        checkout = TREE / "checkout"
        checkout.mkdir()
        archive = subprocess.run(
            ["git", "archive", "HEAD", "sandbox", "scripts", "tests"], cwd=ROOT, check=True, stdout=subprocess.PIPE
        )
        subprocess.run(["tar", "-C", checkout, "-x"], input=archive.stdout, check=True)
        shutil.copytree(ROOT / "sandbox/node_modules", checkout / "sandbox/node_modules", symlinks=True)

    def remove(self):
        subprocess.run(["rm", "-rf", "--one-file-system", TREE], check=True)


@pytest.fixture(scope="module")
def package():
    """The package that scripts/test --package has built for the local sandbox."""
    (file,) = FOLDER.glob("quillo_*.deb")
    return file


@pytest.fixture
def system():
    assert os.geteuid() == 0, "a system of its own needs root"
    shutil.rmtree(TREE, ignore_errors=True)
    system = System()
    yield system
    system.remove()


def newer(package, folder):
    """The same program in a package of a later version, whose files replace those of the first."""
    content = folder / "content"
    subprocess.run(["dpkg-deb", "--raw-extract", package, content], check=True)
    control = content / "DEBIAN/control"
    text = control.read_text()
    version = next(line for line in text.splitlines() if line.startswith("Version: "))
    control.write_text(text.replace(version, version + "+later"))
    subprocess.run(["dpkg-deb", "--root-owner-group", "--build", content, folder / "later.deb"], check=True)
    return folder / "later.deb"


# What it depends on comes first, so that its own traces can be told from theirs.
DEPENDENCIES = 'apt-get satisfy -q -y --no-install-recommends "$(dpkg-deb -f /packages/quillo.deb Depends)"'

# Caches, logs and dpkg's own books are everybody's.
FILES = """find / -xdev \\( -path /proc -o -path /sys -o -path /dev -o -path /run -o -path /tmp -o -path /packages
    -o -path /var/cache -o -path /var/log -o -path /var/lib/apt -o -path /var/lib/dpkg \\) -prune
    -o -type d -print -o -printf '%p %s\\n' | sort""".replace("\n", " ")


def test_what_it_depends_on_is_enough_and_its_purge_leaves_the_bare_system_as_it_was(system, package):
    system.add_package("quillo.deb", package)
    # A session without a display: the bus starts the program by its name, and the program reaches its loop and quits.
    system.run(f"""{DEPENDENCIES}
        {FILES} >/tmp/before
        apt-get install -q -y --no-install-recommends /packages/quillo.deb
        quillo --version
        ! ldd /usr/bin/quillo /usr/lib/*/qt6/plugins/platforms/libqxcb.so | grep 'not found'
        test -e /usr/lib/*/qt6/plugins/imageformats/libqsvg.so
        test -s /etc/ssl/certs/ca-certificates.crt
        command -v xdg-open
        timeout 60 env QT_QPA_PLATFORM=offscreen dbus-run-session -- sh -ec '
            gapplication action app.quillo.Quillo open-ledger
            gapplication action app.quillo.Quillo quit'
        ls -d /root/.config/autostart/app.quillo.Quillo.desktop
        rm -rf /root/.config /root/.cache
        apt-get purge -q -y quillo
        {FILES} >/tmp/after
        diff /tmp/before /tmp/after
        ! ls /var/lib/dpkg/info | grep quillo""")


def test_installed_program_on_a_desktop(system, package, tmp_path):
    system.add_package("quillo.deb", package)
    system.add_package("later.deb", newer(package, tmp_path))
    system.add_checkout()
    test = "tests/packaging/installed/test_installed.py"
    command = shlex.join(["/usr/bin/python3", "-m", "pytest", test])
    system.run(DEPENDENCIES)
    system.run("""source /checkout/scripts/lib/packages.sh
        apt-get install -q -y --no-install-recommends \\
            "${desktopPackages[@]}" dbus libsecret-tools python3-gi gir1.2-glib-2.0 nodejs sudo python3-pytest
        useradd --create-home person
        echo 'person ALL=(ALL) NOPASSWD: ALL' >/etc/sudoers.d/person""")
    # The tree has the machine's network, and the package the sandbox's ports.
    with turn_at_fixed_ports():
        system.run(f"""cd /checkout
            runuser -u person -- env HOME=/home/person PYTHONDONTWRITEBYTECODE=1 {command}""")
