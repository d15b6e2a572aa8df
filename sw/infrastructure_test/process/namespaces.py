"""A private network and mount namespace for a test of whole programs."""
import ctypes
import fcntl
import os
import queue
import socket
import struct
import sys
import threading

CLONE_NEWNS, CLONE_NEWNET = 0x00020000, 0x40000000
MS_REC, MS_PRIVATE, MS_BIND = 0x4000, 0x40000, 0x1000
MS_RDONLY, MS_REMOUNT = 0x1, 0x20
SIOCSIFFLAGS, SIOCSIFADDR, IFF_UP = 0x8914, 0x8916, 0x1
SKIPPED = 77

_libc = ctypes.CDLL(None, use_errno=True)


def _check(result):
    if result != 0:
        error = ctypes.get_errno()
        raise OSError(error, os.strerror(error))


def _set(request, value):
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as control:
        fcntl.ioctl(control, request, value)


def enter():
    """Moves this process into namespaces of its own, with loopback up; skips the test if it can't."""
    try:
        _check(_libc.unshare(CLONE_NEWNS | CLONE_NEWNET))
        _check(_libc.mount(None, b"/", None, MS_REC | MS_PRIVATE, None))
        _set(SIOCSIFFLAGS, struct.pack("16sH14x", b"lo", IFF_UP))
    except OSError as error:
        print(f"skipped: no private namespaces here ({error})")
        sys.exit(SKIPPED)


def add_address(address):
    """Gives loopback another IPv4 address, as if there were a network."""
    _set(SIOCSIFADDR, struct.pack("16sHH4s8x", b"lo:1", socket.AF_INET, 0, socket.inet_aton(address)))


def mount_empty(path, options=None):
    """Mounts an empty file system over a folder, for this process and its children alone."""
    _check(_libc.mount(b"none", path.encode(), b"tmpfs", 0, options and options.encode()))


def remount_read_only(path):
    _check(_libc.mount(b"none", path.encode(), None, MS_REMOUNT | MS_RDONLY, None))


def unmount(path):
    _check(_libc.umount(path.encode()))


def bind_file(source, target):
    """Shows a file or device at another place as well."""
    open(target, "w").close()
    _check(_libc.mount(source.encode(), target.encode(), None, MS_BIND, None))


def listen_to_log():
    """A private /dev with nothing but what programs need and the log socket."""
    kept = "/mnt"
    mount_empty(kept)
    devices = ["null", "zero", "urandom"]
    for name in devices:
        bind_file(f"/dev/{name}", f"{kept}/{name}")
    mount_empty("/dev")
    for name in devices:
        bind_file(f"{kept}/{name}", f"/dev/{name}")
    return LogSocket()


class LogSocket:
    """Takes what comes at the log socket, since a writer blocks on a full one."""

    def __init__(self):
        self.socket = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self.socket.bind("/dev/log")
        self.lines = queue.SimpleQueue()
        threading.Thread(target=self._listen, daemon=True).start()

    def _listen(self):
        while True:
            self.lines.put(self.socket.recv(65536).decode())

    def read_until(self, end):
        """The lines so far, up to the one that holds this text."""
        lines = []
        while not lines or end not in lines[-1]:
            lines.append(self.lines.get(timeout=10))
        return lines


def cut_loopback():
    """From now on no packet arrives, and nobody is told."""
    _set(SIOCSIFFLAGS, struct.pack("16sH14x", b"lo", 0))
