"""A plugin of nbdkit that serves an image and logs writes and flushes; image=FILE and log=FILE are its arguments."""

import os

import nbdkit
from simulator.writelog import FLUSH, Writer

API_VERSION = 2
paths = {}
card = None
writer = None


def thread_model():
    return nbdkit.THREAD_MODEL_SERIALIZE_ALL_REQUESTS


def config(key, value):
    paths[key] = value


def get_ready():
    global card, writer
    card, writer = os.open(paths["image"], os.O_RDWR), Writer(paths["log"])


def open(readonly):
    return card


def get_size(handle):
    return os.fstat(handle).st_size


def can_flush(handle):
    return True


def can_fua(handle):
    return nbdkit.FUA_EMULATE  # a write, then a flush


def pread(handle, buffer, offset, flags):
    buffer[:] = os.pread(handle, len(buffer), offset)


def pwrite(handle, buffer, offset, flags):
    if os.pwrite(handle, buffer, offset) != len(buffer):
        raise OSError(f"{paths['image']} has taken only a part of a write")
    writer.add(offset, bytes(buffer))


def flush(handle, flags):
    writer.add(0, b"", FLUSH)
