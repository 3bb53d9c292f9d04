"""Python access to the orvx printer model library, over its C interface.

    import orvx
    with orvx.Database("ORVDB.dat") as db:
        record, how = db.lookup("Vantor LP-1200 PCL6")
        print(record.name, how, record.vendor_id, record.flag_names)

Model names are bytes in the system's code page. ``Record.name`` decodes them
as UTF-8 with ``surrogateescape``, so any name (UTF-8 or not) round-trips:
``name.encode("utf-8", "surrogateescape")`` is ``Record.name_bytes``, and
``lookup`` takes either form.
"""
# Imported under private names: the package's namespace is its public names only.
import collections as _collections
import contextlib as _contextlib
import ctypes as _ctypes
import ctypes.util as _ctypes_util
import enum as _enum
import functools as _functools
import glob as _glob
import json as _json
import operator as _operator
import os as _os
import sys as _sys
import threading as _threading

__all__ = ["Database", "Record", "Tray", "TraceStep", "SizeList", "Error", "ArgumentError", "FileError",
           "FormatError", "OutOfMemoryError", "RegistryError", "NotFoundError", "UnsupportedError",
           "NotRegularError", "TooLargeError", "SharingError", "DiskFullError", "NoStoreError", "BadStoreError",
           "WrongTypeError", "EmptyValueError", "ValueTooLargeError", "Status",
           "Match", "Flag", "FLAG_NAMES", "FIELDS", "version", "sample_database", "set_host_string",
           "clear_host_strings", "MANUAL_TRAY_STRING", "DEFAULT_TRAY_STRING", "__version__"]


class Status(_enum.IntEnum):
    """The library's status codes (``orvx_status`` of the C interface), one
    per kind of failure, as ``Error.status`` carries them; ``text`` is a
    code's fixed text ("not found"). Each has its exception class below."""
    OK = 0
    ARGUMENT = 1
    IO = 2
    FORMAT = 3
    MEMORY = 4
    REGISTRY = 5
    NOT_FOUND = 6
    UNSUPPORTED = 7
    NOT_REGULAR = 8
    TOO_LARGE = 9
    SHARING = 10
    DISK_FULL = 11
    NO_STORE = 12
    BAD_STORE = 13
    WRONG_TYPE = 14
    EMPTY_VALUE = 15
    VALUE_TOO_LARGE = 16

    @property
    def text(self):
        """The library's fixed text for the code."""
        return _status_text(self).decode()


class Match(str, _enum.Enum):
    """How ``Database.lookup`` found its record; equal to its plain name."""
    EXACT = "exact"          #: a record's name equals the query
    HP = "hp"                #: found after reading a leading "hp" as "HP"
    SUBSTRING = "substring"  #: the query contains the record's name
    DEFAULT = "default"      #: nothing matched: the default record, index 0

    def __str__(self):
        return self.value


class Error(Exception):
    """A failure reported by the library.

    ``message`` says what failed, ``status`` is a ``Status`` and ``offset``,
    for a damaged database (``Status.FORMAT``), the byte where the data went
    wrong (else 0). Each status has its subclass (``NotFoundError`` ...),
    which is also the built-in exception a Python caller would catch."""
    status = Status.ARGUMENT  # a subclass's own status, when none is given

    def __init__(self, message, status=None, offset=0):
        super().__init__(message)  # the message alone: OSError would read more arguments as errno and text
        self.message = message
        status = type(self).status if status is None else status
        self.status = Status(status) if status in Status._value2member_map_ else status
        self.offset = offset


class ArgumentError(Error, ValueError):
    """A required argument is missing or out of range, or the database is closed."""
    status = Status.ARGUMENT


class FileError(Error, OSError):
    """The system refused to open, read or write a file; its subclasses say
    why when the library knows (a missing file is ``NotFoundError``)."""
    status = Status.IO


class FormatError(Error, ValueError):
    """The database is truncated or malformed; ``offset`` says where."""
    status = Status.FORMAT


class OutOfMemoryError(Error, MemoryError):
    status = Status.MEMORY


class RegistryError(Error, OSError):
    status = Status.REGISTRY


class NotFoundError(Error, FileNotFoundError):
    """There is no such file or value."""
    status = Status.NOT_FOUND


class UnsupportedError(Error, NotImplementedError):
    """Not available on this platform."""
    status = Status.UNSUPPORTED


class NotRegularError(FileError):
    """A directory, a device, a FIFO or a socket where a file belongs."""
    status = Status.NOT_REGULAR


class TooLargeError(FileError):
    """A file larger than one of its kind can be."""
    status = Status.TOO_LARGE


class SharingError(FileError):
    """A file open elsewhere in a mode that shares nothing."""
    status = Status.SHARING


class DiskFullError(FileError):
    status = Status.DISK_FULL


class NoStoreError(RegistryError):
    """The registry store file is missing."""
    status = Status.NO_STORE


class BadStoreError(RegistryError):
    """The registry store file is malformed; ``offset`` is its line."""
    status = Status.BAD_STORE


class WrongTypeError(RegistryError):
    """A stored value of another type than the one asked for."""
    status = Status.WRONG_TYPE


class EmptyValueError(RegistryError):
    """A stored value that holds nothing."""
    status = Status.EMPTY_VALUE


class ValueTooLargeError(RegistryError):
    """A stored value larger than the room for it."""
    status = Status.VALUE_TOO_LARGE


# The one table from a C code to its class.
_ERRORS = {cls.status: cls for cls in (ArgumentError, FileError, FormatError, OutOfMemoryError, RegistryError,
                                       NotFoundError, UnsupportedError, NotRegularError, TooLargeError, SharingError,
                                       DiskFullError, NoStoreError, BadStoreError, WrongTypeError, EmptyValueError,
                                       ValueTooLargeError)}


def _error(message, status, offset=0):
    """The exception for a status: its class, or Error for a code this package does not know."""
    return _ERRORS.get(status, Error)(message, status, offset)


# ---- the library --------------------------------------------------------------

def _candidates():
    here = _os.path.dirname(_os.path.abspath(__file__))
    env = _os.environ.get("ORVX_LIBRARY")
    if env:
        yield env
        return
    names = ["orvx.dll"] if _sys.platform == "win32" else ["liborvx.dylib"] if _sys.platform == "darwin" \
        else ["liborvx.so"]
    for n in names:
        yield _os.path.join(here, n)
    # A wheel carries the library under its SONAME, which follows the ABI.
    yield from sorted(_glob.glob(_os.path.join(_glob.escape(here), "liborvx.so.*")), reverse=True)
    library = _installed("LIBRARY")  # where cmake --install put the library
    if library:
        yield library
    found = _ctypes_util.find_library("orvx")
    if found:
        yield found
    yield from names  # the system's search path


def _installed(name):
    """A path that the build or the install wrote into _install.py (absolute,
    or from the package's folder); None when there is none."""
    try:
        from . import _install
    except ImportError:
        return None
    path = getattr(_install, name, None)
    return _os.path.normpath(_os.path.join(_os.path.dirname(_os.path.abspath(__file__)), path)) if path else None


def _load():
    tried = []
    for path in _candidates():
        if _os.sep in path and not _os.path.exists(path):
            tried.append(path)
            continue
        try:
            return _ctypes.CDLL(path)
        except OSError as e:
            tried.append(f"{path} ({e})")
    raise ImportError("orvx: the orvx library was not found; set ORVX_LIBRARY to its path. Tried: " + "; ".join(tried))


_lib = _load()


class _CError(_ctypes.Structure):
    _fields_ = [("status", _ctypes.c_int), ("offset", _ctypes.c_uint64), ("message", _ctypes.c_char * 256)]


class _CTray(_ctypes.Structure):
    _fields_ = [("name", _ctypes.c_char_p), ("id", _ctypes.c_int32), ("add_unit", _ctypes.c_int32),
                ("delivery", _ctypes.c_int32), ("final_name", _ctypes.c_char * 256),
                ("final_name_length", _ctypes.c_size_t)]


_names = _ctypes.POINTER(_ctypes.c_char_p)


class _CCall(_ctypes.Structure):
    _fields_ = [("extended", _ctypes.c_int), ("in_", _ctypes.POINTER(_CTray)), ("in_count", _ctypes.c_size_t),
                ("out", _ctypes.POINTER(_CTray)), ("out_count", _ctypes.c_size_t), ("duplex_unit", _ctypes.c_int),
                ("output_unit", _ctypes.c_int), ("options", _names), ("option_count", _ctypes.c_size_t),
                ("doc_options", _names), ("doc_option_count", _ctypes.c_size_t),
                ("manual_tray_name", _ctypes.c_char_p), ("default_tray_name", _ctypes.c_char_p)]


class _CSizeList(_ctypes.Structure):
    _fields_ = [("tray", _ctypes.c_int), ("name", _ctypes.c_char * 256), ("size_count", _ctypes.c_size_t),
                ("sizes", _ctypes.c_ubyte * 256)]


class _CStep(_ctypes.Structure):
    _fields_ = [("kind", _ctypes.c_int), ("name", _ctypes.c_char_p), ("input_name", _ctypes.c_char_p),
                ("final_name", _ctypes.c_char_p), ("row", _ctypes.c_int), ("test", _ctypes.c_char_p),
                ("added", _ctypes.c_uint32), ("id", _ctypes.c_int32)]


_P = _ctypes.c_void_p
_err = _ctypes.POINTER(_CError)
_trays = _ctypes.POINTER(_CTray)
_u32p = _ctypes.POINTER(_ctypes.c_uint32)
_size = _ctypes.c_size_t
_buf = _ctypes.POINTER(_ctypes.c_ubyte)


def _fn(name, restype, *argtypes):
    f = getattr(_lib, name)
    f.restype = restype
    f.argtypes = list(argtypes)
    return f


_version = _fn("orvx_version", _ctypes.c_char_p)
_status_text = _fn("orvx_status_text", _ctypes.c_char_p, _ctypes.c_int)
_open_file = _fn("orvx_db_open_file", _ctypes.c_int, _ctypes.c_char_p, _ctypes.POINTER(_P), _err)
_open_memory = _fn("orvx_db_open_memory", _ctypes.c_int, _ctypes.c_char_p, _size, _ctypes.POINTER(_P), _err)
_close = _fn("orvx_db_close", None, _P)
_count = _fn("orvx_db_count", _size, _P)
_record = _fn("orvx_db_record", _P, _P, _size)
_lookup = _fn("orvx_db_lookup", _P, _P, _ctypes.c_char_p, _ctypes.POINTER(_ctypes.c_int), _ctypes.POINTER(_size))
_match_name = _fn("orvx_match_name", _ctypes.c_char_p, _ctypes.c_int)
_name = _fn("orvx_record_name", _ctypes.POINTER(_ctypes.c_char), _P, _ctypes.POINTER(_size))
_vendor = _fn("orvx_record_vendor_id", _ctypes.c_int, _P)
_group = _fn("orvx_record_model_group_id", _ctypes.c_int, _P)
_based = _fn("orvx_record_based_model_group_id", _ctypes.c_int, _P)
_icon = _fn("orvx_record_icon_index", _ctypes.c_int, _P)
_flags = _fn("orvx_record_flags", _ctypes.c_uint32, _P)
_flag_count = _fn("orvx_flag_count", _size)
_flag_name = _fn("orvx_flag_name", _ctypes.c_char_p, _size)
_flag_bit = _fn("orvx_flag_bit", _ctypes.c_uint32, _size)
_flag_by_name = _fn("orvx_record_flag_by_name", _ctypes.c_int, _P, _ctypes.c_char_p)
_info = _fn("orvx_record_info", _ctypes.c_int, _P, _ctypes.c_uint32, _ctypes.POINTER(_ctypes.c_int32))
_field_count = _fn("orvx_field_count", _size)
_field_name = _fn("orvx_field_name", _ctypes.c_char_p, _size)
_field_width = _fn("orvx_field_width", _ctypes.c_int, _size)
_field = _fn("orvx_record_field", _ctypes.c_int, _P, _size, _ctypes.POINTER(_ctypes.c_int64))
_find_size_list = _fn("orvx_record_find_size_list", _ctypes.c_int, _P, _ctypes.c_int, _buf, _size, _ctypes.POINTER(_size))
_find_size_list_named = _fn("orvx_record_find_size_list_named", _ctypes.c_int, _P, _ctypes.c_char_p, _buf, _size,
                            _ctypes.POINTER(_size))
_size_list = _fn("orvx_record_size_list", _size, _P, _ctypes.c_int, _buf, _size)
_size_list_named = _fn("orvx_record_size_list_named", _size, _P, _ctypes.c_char_p, _buf, _size)
_size_list_block = _fn("orvx_record_size_list_block", _size, _P, _buf, _size)
_picture = _fn("orvx_picture", _ctypes.c_int, _P, _ctypes.POINTER(_CCall), _u32p, _ctypes.POINTER(_P), _err)
_rule_for = _fn("orvx_rule_for", _ctypes.c_char_p, _ctypes.c_int, _ctypes.c_int, _ctypes.c_int, _u32p)
_trace_rule = _fn("orvx_trace_rule", _ctypes.c_char_p, _P)
_trace_count = _fn("orvx_trace_count", _size, _P)
_trace_step_at = _fn("orvx_trace_step_at", _ctypes.c_int, _P, _size, _ctypes.POINTER(_CStep))
_trace_free = _fn("orvx_trace_free", None, _P)
_tray_init = _fn("orvx_tray_init", None, _trays, _ctypes.c_char_p)
_step_name = _fn("orvx_picture_step_name", _ctypes.c_char_p, _ctypes.c_int)
_set_string = _fn("orvx_host_set_string", _ctypes.c_int, _ctypes.c_uint, _ctypes.c_char_p)
_clear_strings = _fn("orvx_host_clear_strings", None)
_size_list_count = _fn("orvx_record_size_list_count", _size, _P)
_size_list_at = _fn("orvx_record_size_list_at", _ctypes.c_int, _P, _size, _ctypes.POINTER(_CSizeList))
_db_set = _fn("orvx_db_set", _ctypes.c_int, _P, _size, _ctypes.c_char_p, _ctypes.c_char_p, _err)
_db_set_flag = _fn("orvx_db_set_flag", _ctypes.c_int, _P, _size, _ctypes.c_char_p, _ctypes.c_int, _err)
_db_set_name = _fn("orvx_db_set_name", _ctypes.c_int, _P, _size, _ctypes.c_char_p, _size, _err)
_db_insert = _fn("orvx_db_insert", _ctypes.c_int, _P, _size, _P, _err)
_db_remove = _fn("orvx_db_remove", _ctypes.c_int, _P, _size, _err)
_db_move = _fn("orvx_db_move", _ctypes.c_int, _P, _size, _size, _err)
_db_write = _fn("orvx_db_write", _ctypes.c_int, _P, _ctypes.c_char_p, _size, _ctypes.POINTER(_size), _err)
_db_save = _fn("orvx_db_save", _ctypes.c_int, _P, _ctypes.c_char_p, _ctypes.c_int, _err)
_db_json = _fn("orvx_db_json", _ctypes.c_int, _P, _ctypes.c_char_p, _size, _ctypes.POINTER(_size), _err)
_record_json = _fn("orvx_record_json", _ctypes.c_int, _P, _ctypes.c_char_p, _size, _ctypes.POINTER(_size), _err)

_OK, _E_NOT_FOUND = 0, 6
_FLAGS = [(_flag_name(i).decode(), _flag_bit(i)) for i in range(_flag_count())]

#: The thirteen capability flags by name, as bits of ``Record.flags``
#: (``Flag.IsColorPrinter`` is 0x0008).
Flag = _enum.IntFlag("Flag", _FLAGS, module=__name__)
Flag.__doc__ = "The capability flags of a model record, as bits of Record.flags."
#: The flags' names, in bit order.
FLAG_NAMES = tuple(name for name, _ in _FLAGS)
#: The record's numeric fields in database order: (name, width in bytes).
FIELDS = tuple((_field_name(i).decode(), _field_width(i)) for i in range(_field_count()))
_FIELD_INDEX = {name: i for i, (name, _) in enumerate(FIELDS)}


def _raise(err):
    raise _error(err.message.decode("utf-8", "replace"), err.status, err.offset)


def _call(fn, *args):
    """Calls a C function that takes an orvx_error last; raises its failure."""
    err = _CError()
    if fn(*args, _ctypes.byref(err)) != _OK:
        _raise(err)


def _refused(fn, *args):
    """An edit: the library refuses a value, a key or a flag with ValueError."""
    err = _CError()
    if fn(*args, _ctypes.byref(err)) != _OK:
        raise ArgumentError(err.message.decode("utf-8", "replace"), err.status)


def _sized(fn, handle):
    """The bytes a sizing C call gives: asked for their size, then copied."""
    size = _size(0)
    _call(fn, handle, None, 0, _ctypes.byref(size))
    buf = _ctypes.create_string_buffer(size.value + 1)
    _call(fn, handle, buf, len(buf), _ctypes.byref(size))
    return buf.raw[:size.value]


def _bytes(text, what="a name"):
    """A name as the library's bytes: str as UTF-8 (surrogateescape), bytes as
    they are. The library reads names up to a zero byte, so one that holds
    a zero byte would be another name: it is refused."""
    if isinstance(text, bytes):
        raw = text
    elif isinstance(text, str):
        raw = text.encode("utf-8", "surrogateescape")
    else:
        raise TypeError(f"{what} must be str or bytes, not {type(text).__name__}")
    if b"\0" in raw:
        raise ValueError(f"{what} holds a zero byte: {text!r}")
    return raw


def _c_int(value, what, low=-2**31, high=2**31 - 1):
    """`value` as a number for a C parameter whose type holds `low` to `high`
    (by default a 32-bit int): ctypes would silently cut anything wider."""
    try:
        number = _operator.index(value)
    except TypeError:
        raise TypeError(f"{what} must be an int, not {type(value).__name__}") from None
    if not low <= number <= high:
        raise ValueError(f"{what} must be from {low} to {high}, not {number}")
    return number


def _name_list(names, what):
    """A list of names; a single str or bytes is refused rather than read as its characters."""
    if isinstance(names, (str, bytes)):
        raise TypeError(f"{what} must be a list of names, not one {type(names).__name__}; "
                        f"write [{names!r}]")
    try:
        return list(names)
    except TypeError:
        raise TypeError(f"{what} must be a list of names, not {type(names).__name__}") from None


def _text(raw):
    return raw.decode("utf-8", "surrogateescape")


def _name_array(names, what="a name"):
    raw = [_bytes(n, what) for n in names]
    return (_ctypes.c_char_p * max(len(raw), 1))(*raw), len(raw)


def _holding(method):
    """Runs `method` with its database held open: ``close`` waits for it, and
    a call on a closed database raises ``Error``."""
    @_functools.wraps(method)
    def run(self, *args, **kwargs):
        db = self._db
        db._enter()
        try:
            return method(self, *args, **kwargs)
        finally:
            db._leave()
    return run


def version():
    """The library's version, "MAJOR.MINOR.PATCH"."""
    return _version().decode()


__version__ = version()


def sample_database():
    """The path of the sample database (ORVDB.dat) that ships with the
    package: fictional models for every vendor and model group the picture
    rules know. NotFoundError when this copy of the package has none (the
    source tree's)."""
    for path in (_os.path.join(_os.path.dirname(_os.path.abspath(__file__)), "ORVDB.dat"), _installed("SAMPLE")):
        if path and _os.path.isfile(path):
            return path
    raise NotFoundError("no sample database ships with this copy of orvx (build it, or install the package)")


#: The host strings the picture rules read, by number: a manual tray's name
#: and a default tray's (``Record.picture_id``'s manual_tray_name and
#: default_tray_name, or ``set_host_string``).
MANUAL_TRAY_STRING = _fn("orvx_manual_tray_string_id", _ctypes.c_uint)()
DEFAULT_TRAY_STRING = _fn("orvx_default_tray_string_id", _ctypes.c_uint)()

# The host strings picture calls take when they are not given one.
_host_strings = {}


def set_host_string(ident, text):
    """Sets (or, with None, removes) one of the host's string resources, which
    picture rules read (MANUAL_TRAY_STRING, DEFAULT_TRAY_STRING).
    ``Record.picture_id`` takes them unless it is given its own."""
    if not isinstance(ident, int) or not 0 <= ident <= 0xFFFFFFFF:
        raise ValueError(f"a string resource number is an int from 0 to 0xFFFFFFFF, not {ident!r}")
    data = None if text is None else _bytes(text, "a host string")
    _set_string(ident, data)
    if data is None:
        _host_strings.pop(ident, None)
    else:
        _host_strings[ident] = data


def clear_host_strings():
    _clear_strings()
    _host_strings.clear()


TraceStep = _collections.namedtuple("TraceStep", "kind name input_name final_name row test added id")
TraceStep.__doc__ = """One step of a picture call's explanation: ``kind`` is "option",
"doc-option", "in-tray", "out-tray" or "rule"; ``row`` the matching row of
its table (-1: none); ``test`` that row's test, or what a rule step is;
``added`` the bits the step set; ``id`` a tray's ID after it (else -1)."""
_STEP_KINDS = []
while (_kind := _step_name(len(_STEP_KINDS))) is not None:
    _STEP_KINDS.append(_kind.decode())

SizeList = _collections.namedtuple("SizeList", "tray sizes")
SizeList.__doc__ = """One entry of a record's size lists: ``tray`` is the input tray's
number (an int from 0 to 255) or, for a named entry, its name (str), and
``sizes`` its paper-size codes (bytes)."""


def _read_trace(handle):
    try:
        rule = _trace_rule(handle)
        steps = []
        step = _CStep()
        for i in range(_trace_count(handle)):
            _trace_step_at(handle, i, _ctypes.byref(step))
            steps.append(TraceStep(_STEP_KINDS[step.kind], _text(step.name), _text(step.input_name),
                                   _text(step.final_name), step.row, _text(step.test), step.added, step.id))
        return (None if rule is None else rule.decode()), steps
    finally:
        _trace_free(handle)


# ---- objects ---------------------------------------------------------------------

_NEW_TRAY = _CTray()
_tray_init(_ctypes.byref(_NEW_TRAY), None)


class Tray:
    """One installed tray of a particular printer, with a new tray's values
    unless given. A picture call rewrites its ``name`` and ``id`` as the
    rules leave them."""

    def __init__(self, name, id=_NEW_TRAY.id, add_unit=_NEW_TRAY.add_unit, delivery=_NEW_TRAY.delivery):
        _bytes(name, "a tray name")
        self.name = name
        self.id = id
        self.add_unit = add_unit
        self.delivery = delivery

    def __repr__(self):
        return f"Tray({self.name!r}, id={self.id})"


class Database:
    """A model database, opened from a file (``Database(path)``) or from
    bytes (``Database.from_bytes(data)``). Close it, or use it in a ``with``
    block; its records are usable until then.

    Any number of threads may use one database. ``close`` waits for the calls
    that are running; a call after it raises ``Error``."""

    def __init__(self, path):
        """Opens the database file `path` (str, bytes or a path object)."""
        raw = _os.fsencode(path)
        if b"\0" in raw:
            raise ValueError(f"a path that holds a zero byte: {path!r}")
        self._open(lambda handle, err: _open_file(raw, handle, err))

    @classmethod
    def from_bytes(cls, data):
        """Opens a database from a copy of `data` (bytes or another buffer)."""
        try:  # bytes(3) would be three zero bytes, bytes("x") an encoding error
            data = memoryview(data).tobytes()
        except TypeError:
            raise TypeError(f"a database is bytes or another bytes-like object, not {type(data).__name__}") from None
        db = cls.__new__(cls)
        db._open(lambda handle, err: _open_memory(data, len(data), handle, err))
        return db

    def _open(self, opener):
        self._handle = None
        self._db = self  # what _holding holds
        self._state = _threading.Condition()
        self._calls = 0
        handle = _P()
        err = _CError()
        if opener(_ctypes.byref(handle), _ctypes.byref(err)) != _OK:
            _raise(err)
        self._handle = handle

    def close(self):
        """Frees the database once the calls running on it have returned.
        Its records are unusable afterwards. A second close does nothing."""
        state = getattr(self, "_state", None)
        if state is None:  # the open failed
            return
        with state:
            handle, self._handle = self._handle, None  # calls that start now raise Error
            while self._calls:
                state.wait()
        if handle is not None:
            _close(handle)

    def _enter(self):
        with self._state:
            if self._handle is None:
                raise ArgumentError("the database is closed")
            self._calls += 1

    def _leave(self):
        with self._state:
            self._calls -= 1
            if not self._calls:
                self._state.notify_all()

    def _live(self):
        handle = self._handle
        if handle is None:
            raise ArgumentError("the database is closed")
        return handle

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()

    def __del__(self):
        self.close()

    @_holding
    def __len__(self):
        return _count(self._live())

    def __getitem__(self, index):
        """The record at `index` in file order (negative counts from the end).
        Use ``lookup`` to find a record by model name."""
        if isinstance(index, (str, bytes)):
            raise TypeError(f"records are indexed by position; use db.lookup({index!r}) to find one by name")
        if not isinstance(index, int):
            raise TypeError(f"record indices must be int, not {type(index).__name__}")
        n = len(self)
        if index < 0:
            index += n
        if not 0 <= index < n:
            raise IndexError("record index out of range")
        return Record(self, index)

    def __iter__(self):
        for i in range(len(self)):
            yield Record(self, i)

    @_holding
    def lookup(self, name):
        """(record, how) for a model name, with the library's rules: how is a
        ``Match`` ("exact", "hp", "substring" or "default"); record is None
        only for an empty database."""
        raw = _bytes(name, "a model name")
        how = _ctypes.c_int(0)
        index = _size(0)
        if not _lookup(self._live(), raw, _ctypes.byref(how), _ctypes.byref(index)):
            return None, Match.DEFAULT
        return Record(self, index.value), Match(_match_name(how.value).decode())

    # ---- editing. Records are positions: after an insert, a remove or a move a
    # Record reads whatever record then stands at its index.

    def _position(self, index, end=False):
        """`index` as a position (negative counts from the end); IndexError past the end."""
        if isinstance(index, bool) or not isinstance(index, int):
            raise TypeError(f"record indices must be int, not {type(index).__name__}")
        n = _count(self._live()) + (1 if end else 0)
        if index < 0:
            index += n
        if not 0 <= index < n:
            raise IndexError("record index out of range")
        return index

    @_holding
    def set(self, index, field, value):
        """Stores `value` in `field` of record `index`, a key as ``to_dict``
        and ``orvdb export`` name it ("ModelName", "VenderID", "Info0301",
        "Flags", "FlagNames", "InTraySPSZSizeList" as [{"tray": 1 or "name",
        "sizes": [...]}] or None). A model name may be bytes. A value the
        library refuses raises ValueError with its message, and nothing changes."""
        index = self._position(index)
        if field == "ModelName" and isinstance(value, (bytes, bytearray)):
            return _refused(_db_set_name, self._live(), index, bytes(value), len(value))
        try:
            text = _json.dumps(value, ensure_ascii=False, allow_nan=False)
        except (TypeError, ValueError) as e:
            raise ArgumentError(f"{field}: {e}") from None
        _refused(_db_set, self._live(), index, _bytes(field, "a field name"), text.encode("utf-8", "surrogateescape"))

    @_holding
    def set_flag(self, index, name, on=True):
        """Sets or clears the capability flag `name` ("IsColorPrinter") of record `index`."""
        _refused(_db_set_flag, self._live(), self._position(index), _bytes(name, "a flag name"), 1 if on else 0)

    @_holding
    def insert(self, index, fields=None):
        """Inserts a record at `index` (``len(db)`` appends): blank, a copy of a
        ``Record`` (of any open database), or made of a dict of fields as
        ``set`` takes them. A field the library refuses inserts nothing."""
        at = self._position(index, end=True)
        if isinstance(fields, Record):
            with fields._db._hold():
                return _refused(_db_insert, self._live(), at, fields._h())
        if fields is not None and not isinstance(fields, dict):
            raise TypeError(f"fields are a dict or a Record, not {type(fields).__name__}")
        _refused(_db_insert, self._live(), at, None)
        try:
            for key, value in (fields or {}).items():
                self.set(at, key, value)
        except BaseException:
            _refused(_db_remove, self._live(), at)
            raise

    @_holding
    def remove(self, index):
        """Removes record `index`."""
        _refused(_db_remove, self._live(), self._position(index))

    @_holding
    def move(self, src, dst):
        """Moves record `src` so that it ends up at position `dst` (the lookup takes the first match in file order)."""
        _refused(_db_move, self._live(), self._position(src), self._position(dst))

    @_holding
    def save(self, path=None, form="dat"):
        """The database in the file layout ("dat": byte for byte the opened file
        while no record differs from it) or its JSON form ("json", as ``orvdb
        export`` writes it): written to `path`, replaced whole or not at all,
        or returned as bytes when no path is given."""
        if form not in ("dat", "json"):
            raise ValueError(f'a database is saved as "dat" or "json", not {form!r}')
        h = self._live()
        if path is None:
            return _sized(_db_write if form == "dat" else _db_json, h)
        raw = _os.fsencode(path)
        if b"\0" in raw:
            raise ValueError(f"a path that holds a zero byte: {path!r}")
        _call(_db_save, h, raw, 0 if form == "dat" else 1)

    @_contextlib.contextmanager
    def _hold(self):
        self._enter()
        try:
            yield
        finally:
            self._leave()


class Record:
    """One model record, borrowed from its database: usable until the
    database is closed."""

    def __init__(self, db, index):
        self._db = db
        self._index = index

    @property
    def index(self):
        """The record's position in the database, in file order (0: the default model)."""
        return self._index

    def __repr__(self):
        try:
            return f"<orvx.Record {self._index}: {self.name!r}>"
        except Error:
            return f"<orvx.Record {self._index}>"

    def __eq__(self, other):
        return isinstance(other, Record) and other._db is self._db and other._index == self._index

    def __hash__(self):
        return hash((id(self._db), self._index))

    def _h(self):
        return _record(self._db._live(), self._index)

    @property
    @_holding
    def name_bytes(self):
        """The model name as stored, in bytes."""
        length = _size(0)
        p = _name(self._h(), _ctypes.byref(length))
        return _ctypes.string_at(p, length.value)

    @property
    def name(self):
        """The model name, decoded as UTF-8 with surrogateescape (``name_bytes`` holds the bytes)."""
        return _text(self.name_bytes)

    def _read(fn, doc):
        return property(_holding(lambda self: fn(self._h())), doc=doc)

    vendor_id = _read(_vendor, "Vendor ID: 1 the printer line, 2 the copier line.")
    model_group_id = _read(_group, "Model group ID, which with the vendor ID selects the picture rule.")
    based_model_group_id = _read(_based, "The model group this model is based on.")
    icon_index = _read(_icon, "The host's icon index.")
    flags = _read(_flags, "The whole capability word.")
    del _read

    @property
    def flag_names(self):
        """The names of the capability flags that are set ("IsColorPrinter", ...)."""
        word = self.flags
        return frozenset(name for name, bit in _FLAGS if word & bit)

    @_holding
    def flag(self, name):
        """Whether the capability flag `name` ("IsColorPrinter", one of
        ``FLAG_NAMES``) is set."""
        value = _flag_by_name(self._h(), _bytes(name, "a flag name"))
        if value < 0:
            raise KeyError(f"{name!r} is no flag; the flags are {', '.join(FLAG_NAMES)}")
        return bool(value)

    @_holding
    def info(self, key):
        """The information value under `key` (an int from 0 to 0xFFFFFFFF, such
        as 0x0D08), widened as the record's GetInfo does; KeyError for a key
        that names none. A field by its name is ``field("Info0D08")``."""
        if isinstance(key, bool) or not isinstance(key, int):
            raise TypeError(f"an information key is an int such as 0x0D08, not {type(key).__name__}; "
                            f"for a field by name use record.field({key!r})")
        value = _ctypes.c_int32()
        # Checked before ctypes would cut the key to 32 bits.
        if not 0 <= key <= 0xFFFFFFFF or _info(self._h(), key, _ctypes.byref(value)) == _E_NOT_FOUND:
            raise KeyError(f"{key:#06x}" if key >= 0 else f"-{-key:#06x}")
        return value.value

    @_holding
    def field(self, name):
        """The numeric field `name` ("VenderID", "Info0D08", one of ``FIELDS``)
        as stored: signed fields signed, the others not (``info`` widens as
        GetInfo does, so Info040A's 255 is -1 there)."""
        if name not in _FIELD_INDEX:
            raise KeyError(f"{name!r} is no field of a record")
        value = _ctypes.c_int64()
        _field(self._h(), _FIELD_INDEX[name], _ctypes.byref(value))
        return value.value

    @_holding
    def to_dict(self):
        """The record as ``orvdb export`` writes it: the model name
        ("ModelNameBytes", a list of byte values, for a name that is not
        UTF-8), every numeric field in database order as stored, the names of
        the flags that are set after "Flags", and the size lists as
        ``[{"tray": number or name, "sizes": [codes]}]`` (None: no block; the
        block's bytes, length byte first, when it does not read as trays)."""
        return _json.loads(_sized(_record_json, self._h()))

    @_holding
    def size_lists(self):
        """Every size list of the record in block order, as ``SizeList(tray,
        sizes)`` (tray: a number, or a name); [] without a block. Like
        ``size_list``, it reads nothing from an entry that runs past the
        block's end onwards."""
        h, entry = self._h(), _CSizeList()
        out = []
        for i in range(_size_list_count(h)):
            _size_list_at(h, i, _ctypes.byref(entry))
            out.append(SizeList(entry.tray if entry.tray >= 0 else _text(entry.name),
                                bytes(entry.sizes[:entry.size_count])))
        return out

    @_holding
    def rule(self, classic=False):
        """The name of the picture rule that serves this record
        ("GetOptionFlagEx_Nightjar"), in GetPictureIDEx or, with
        ``classic=True``, in GetPictureID; None when no rule runs and the
        picture ID is a fixed value. Nothing is computed."""
        h = self._h()
        name = _rule_for(_vendor(h), _group(h), 0 if classic else 1, None)
        return None if name is None else name.decode()

    @_holding
    def size_list(self, tray):
        """The paper-size list of an input tray, by number (0 to 255) or by
        name (names compare without regard to letter case): b"" for a tray
        listed without sizes, None for a tray that is not listed."""
        if isinstance(tray, bool) or not isinstance(tray, (int, str, bytes)):
            raise TypeError(f"a tray is a number or a name, not {type(tray).__name__}")
        buf = (_ctypes.c_ubyte * 256)()
        length = _size(0)
        if isinstance(tray, int):
            if not 0 <= tray <= 255:
                raise ValueError(f"tray numbers are 0 to 255, not {tray}")
            status = _find_size_list(self._h(), tray, buf, 256, _ctypes.byref(length))
        else:
            status = _find_size_list_named(self._h(), _bytes(tray, "a tray name"), buf, 256, _ctypes.byref(length))
        return None if status == _E_NOT_FOUND else bytes(buf[:length.value])

    @_holding
    def size_list_block(self):
        """The whole size-list block, its length byte first; b"" when there is none."""
        buf = (_ctypes.c_ubyte * 256)()
        return bytes(buf[:_size_list_block(self._h(), buf, 256)])

    @_holding
    def picture_id(self, in_trays=(), out_trays=(), options=(), doc_options=(), *, classic=False,
                   duplex_unit=0, output_unit=0, manual_tray_name=None, default_tray_name=None, explain=False):
        """The picture ID for the installed trays and units.

        Trays are names or ``Tray`` objects; every ``Tray`` given comes back
        with its final name and ID. ``classic`` calls GetPictureID
        (duplex_unit, output_unit) instead of GetPictureIDEx (options,
        doc_options). ``manual_tray_name`` and ``default_tray_name`` are the
        host strings MANUAL_TRAY_STRING and DEFAULT_TRAY_STRING (default:
        as ``set_host_string`` set them). With ``explain=True`` the answer is ``(id, rule, steps)``:
        the rule that ran (None: none) and a list of ``TraceStep``.

        A final tray name longer than 255 bytes raises ``Error`` rather than
        come back cut."""
        h = self._h()
        in_trays, out_trays = _name_list(in_trays, "in_trays"), _name_list(out_trays, "out_trays")
        options, doc_options = _name_list(options, "options"), _name_list(doc_options, "doc_options")
        result = _ctypes.c_uint32()
        err = _CError()
        opts, n_opts = _name_array(options, "an option name")
        docs, n_docs = _name_array(doc_options, "an option name")

        def build(trays):
            objs = [t if isinstance(t, Tray) else Tray(t) for t in trays]
            names = [_bytes(t.name, "a tray name") for t in objs]  # kept alive through the call
            arr = (_CTray * max(len(objs), 1))()
            for c, t, n in zip(arr, objs, names):
                # Checked and named as orvdb eval checks and names them.
                c.name, c.id = n, _c_int(t.id, '"id"')
                c.add_unit, c.delivery = _c_int(t.add_unit, '"addUnit"'), _c_int(t.delivery, '"delivery"')
            return objs, arr, names
        ins, cin, _keep_in = build(in_trays)
        outs, cout, _keep_out = build(out_trays)
        manual = (_host_strings.get(MANUAL_TRAY_STRING) if manual_tray_name is None
                  else _bytes(manual_tray_name, "a host string"))
        default = (_host_strings.get(DEFAULT_TRAY_STRING) if default_tray_name is None
                   else _bytes(default_tray_name, "a host string"))
        call = _CCall(0 if classic else 1, cin, len(ins), cout, len(outs), _c_int(duplex_unit, '"duplexUnit"'),
                      _c_int(output_unit, '"outputUnit"'), opts, n_opts, docs, n_docs, manual, default)
        trace = _P()
        status = _picture(h, _ctypes.byref(call), _ctypes.byref(result), _ctypes.byref(trace) if explain else None,
                          _ctypes.byref(err))
        if status != _OK:
            _raise(err)
        rule, steps = _read_trace(trace) if explain else (None, None)
        for objs, arr in ((ins, cin), (outs, cout)):
            for t, c in zip(objs, arr):
                if c.final_name_length >= _CTray.final_name.size:
                    raise ArgumentError(f"a tray's final name is {c.final_name_length} bytes, longer than the "
                                f"{_CTray.final_name.size - 1} a picture call returns")
        for objs, arr in ((ins, cin), (outs, cout)):
            for t, c in zip(objs, arr):
                t.id = c.id
                t.name = _text(c.final_name)
        return (result.value, rule, steps) if explain else result.value