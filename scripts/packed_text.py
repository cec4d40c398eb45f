"""The packed texts of a store, for programs that have no more than Python itself and the service's own libzstd."""

import ctypes
import functools
import sqlite3

_MAGIC = b"\x28\xb5\x2f\xfd"
_LEVEL = 1

_ZSTD = ctypes.CDLL("libzstd.so.1")


def _function(name, result, *arguments):
    function = getattr(_ZSTD, name)
    function.restype, function.argtypes = result, arguments
    return function


_POINTER, _SIZE = ctypes.c_void_p, ctypes.c_size_t
_dictionary_of = _function("ZSTD_getDictID_fromFrame", ctypes.c_uint, ctypes.c_char_p, _SIZE)
_length_of = _function("ZSTD_getFrameContentSize", ctypes.c_ulonglong, ctypes.c_char_p, _SIZE)
_longest_frame = _function("ZSTD_compressBound", _SIZE, _SIZE)
_is_error = _function("ZSTD_isError", ctypes.c_uint, _SIZE)
_unpacking = _function("ZSTD_createDCtx", _POINTER)()
_packing = _function("ZSTD_createCCtx", _POINTER)()
_read_dictionary = _function("ZSTD_createDDict", _POINTER, ctypes.c_char_p, _SIZE)
_make_dictionary = _function("ZSTD_createCDict", _POINTER, ctypes.c_char_p, _SIZE, ctypes.c_int)
_unpack = _function("ZSTD_decompress_usingDDict", _SIZE, _POINTER, ctypes.c_char_p, _SIZE, ctypes.c_char_p, _SIZE,
                    _POINTER)
_pack = _function("ZSTD_compress_usingCDict", _SIZE, _POINTER, ctypes.c_char_p, _SIZE, ctypes.c_char_p, _SIZE, _POINTER)


# Of each dictionary once: there are few, and nothing of libzstd is given back.
@functools.lru_cache(maxsize=None)
def _reading(dictionary):
    return _read_dictionary(dictionary, len(dictionary))


@functools.lru_cache(maxsize=None)
def _writing(dictionary):
    return _make_dictionary(dictionary, len(dictionary), _LEVEL)


class PackedTexts:
    """Those of one store, which brings its dictionaries along. One thread."""

    def __init__(self, database):
        self._database, self._read, self._made = database, {}, None

    def text(self, value):
        """The text of a packed value; any other as it is."""
        if not isinstance(value, bytes) or not value.startswith(_MAGIC):
            return value
        number, length = _dictionary_of(value, len(value)), _length_of(value, len(value))
        if number not in self._read:
            (dictionary,), = self._database.execute("SELECT bytes FROM dictionaries WHERE id = ?", (number,))
            self._read[number] = _reading(dictionary)
        text = ctypes.create_string_buffer(length)
        assert _unpack(_unpacking, text, length, value, len(value), self._read[number]) == length, "a broken frame"
        return text.raw.decode()

    def packed(self, text):
        if self._made is None:
            (dictionary,), = self._database.execute("SELECT bytes FROM dictionaries ORDER BY id DESC LIMIT 1")
            self._made = _writing(dictionary)
        plain = text.encode()
        frame = ctypes.create_string_buffer(_longest_frame(len(plain)))
        size = _pack(_packing, frame, len(frame), plain, len(plain), self._made)
        assert not _is_error(size), "cannot be packed"
        return frame.raw[:size]


def unpack_rows(database):
    """From now on its rows have texts in the place of packed ones."""
    text = PackedTexts(database).text
    database.row_factory = lambda cursor, row: sqlite3.Row(cursor, tuple(map(text, row)))
