"""The world a scene runs in: fresh user, network, mount, pid and host-name namespaces, with private directories.

The runner becomes the first process of its pid namespace, so that whatever it started ends with it, and nothing that
a scene mounts, configures or writes is seen outside.
"""
import ctypes
import os
import subprocess
import sys

MARK = "LAB_INSIDE"
HERE = "/run/lab"  # the scene's own directory, on a private file system
CLONE_NEWNET = 0x40000000
_libc = ctypes.CDLL(None, use_errno=True)


def inside():
    return os.environ.get(MARK) == "1"


def enter(argv):
    """Runs argv again as the first process of the new namespaces. Does not return."""
    command = ["unshare", "--net", "--mount", "--uts", "--pid", "--fork", "--kill-child", "--mount-proc"]
    if os.geteuid() != 0:
        command += ["--user", "--map-root-user"]
        if subprocess.run(["unshare", "--user", "--map-root-user", "true"], check=False).returncode != 0:
            sys.exit("lab: this system lets only root make namespaces; run this as root")
    os.environ[MARK] = "1"
    try:
        os.execvp(command[0], command + ["--", sys.executable] + argv)
    except OSError as error:
        sys.exit(f"lab: cannot run unshare (package util-linux): {error}")


def furnish(build, keep):
    """Private directories; the build and the directory for captures stay reachable under HERE, wherever they are."""
    bind = {"build": build, "keep": keep}
    held = {name: os.open(path, os.O_PATH | os.O_DIRECTORY) for name, path in bind.items() if path}
    for path in ("/run", "/tmp", "/etc/dhcp", "/var/lib/dhcp", "/var/lib/dhcpcd"):
        if os.path.isdir(path):
            run("mount", "-t", "tmpfs", "-o", "mode=1777" if path == "/tmp" else "mode=755", "lab", path)
    for path in (HERE, "/run/netns"):
        os.makedirs(path)
    for name, descriptor in held.items():
        os.mkdir(f"{HERE}/{name}")
        run("mount", "--bind", f"/proc/self/fd/{descriptor}", f"{HERE}/{name}", pass_fds=[descriptor])
    only_root()
    os.chdir(HERE)
    os.environ["HOME"] = HERE  # nobody's settings
    os.environ.pop("XDG_CONFIG_HOME", None)
    run("ip", "link", "set", "lo", "up")


def only_root():
    """Without other users, clients that would change to an unprivileged one stay as they are; a single mapped user
    is all that a user namespace has."""
    with open(f"{HERE}/passwd", "w", encoding="ascii") as file:
        file.write("root:x:0:0:root:/:/bin/sh\n")
    run("mount", "--bind", f"{HERE}/passwd", "/etc/passwd")


class Network:
    """A network namespace with a name: where one host lives."""

    def __init__(self, name):
        self.name = name
        self.path = f"/run/netns/{name}"
        run("ip", "netns", "add", name)

    def command(self, *words):
        return ["nsenter", f"--net={self.path}", "--", *words]

    def run(self, *words):
        return run(*self.command(*words))

    def __enter__(self):
        """Moves the calling thread, for opening sockets that live here."""
        self._home = os.open("/proc/thread-self/ns/net", os.O_RDONLY)
        there = os.open(self.path, os.O_RDONLY)
        _setns(there)
        os.close(there)

    def __exit__(self, *_):
        _setns(self._home)
        os.close(self._home)


def _setns(descriptor):
    if _libc.setns(descriptor, CLONE_NEWNET) != 0:
        raise OSError(ctypes.get_errno(), "setns")


def run(*words, pass_fds=()):
    """A command that must succeed; its output."""
    done = subprocess.run(words, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, stdin=subprocess.DEVNULL,
                          text=True, timeout=20, pass_fds=pass_fds, check=False)
    if done.returncode != 0:
        raise RuntimeError(f"{' '.join(words)}: {done.stdout.strip() or done.returncode}")
    return done.stdout
