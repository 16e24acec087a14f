"""gdb pretty printers for libvexo_variant: values, maps and iterators as trees.

gdb loads this file with the library where it trusts the place; otherwise `source` it. See
docs/debugging.md.

Only the type Variant (and, to print them themselves, the others named at the end) must be known
from debug information. What a value points to is read by the layout that variant.h and member_map.h
give it, because compilers leave out the debug information of what a program does not use. Nothing
is called in the program, and nothing found there is trusted: a pointer, size or link that cannot be
right is shown in angle brackets.
"""

import datetime

import gdb
import gdb.printing

MOST_MEMBERS = 1 << 30  # MemberMap::kMaxSize
MOST_BLOCKS = 31  # of doubling size, for so many members
NO_SLOT = 0xFFFFFFFF  # MemberMap::kNone
BYTES_SHOWN = 16
TEXT_BYTES_SHOWN = 200  # of keys and type names

NULL, BOOL, DOUBLE, TIMESTAMP, STRING, BINARY, MAP, TYPED_MAP = (
    0x8001, 0x8003, 0xE00C, 0x100D, 0x100E, 0x100F, 0x1010, 0x1011)
# Name, bytes and signedness of the integer types.
INTEGERS = {
    0xE004: ("INT8", 1, True), 0xE005: ("INT16", 2, True),
    0xE006: ("INT32", 4, True), 0xE007: ("INT64", 8, True),
    0xC008: ("UINT8", 1, False), 0xC009: ("UINT16", 2, False),
    0xC00A: ("UINT32", 4, False), 0xC00B: ("UINT64", 8, False),
}


class Corrupt(ValueError):
    """What was found cannot be part of a valid value; the text tells what."""


# What reading broken values raises; gdb.error is a RuntimeError.
ERRORS = (RuntimeError, ValueError, OverflowError, LookupError)


def shown(error):
    """An error in the place of what could not be shown."""
    return "<%s>" % str(error).rstrip(".")


def aligned(offset, alignment):
    return -(-offset // alignment) * alignment


class Memory:
    """The memory of the program, in the byte order and with the pointers of its processor."""

    def __init__(self, any_type):
        self.pointer_size = any_type.pointer().sizeof
        one = gdb.Value(b"\1\0\0\0", gdb.lookup_type("unsigned int"))
        self.order = "little" if int(one) == 1 else "big"

    def bytes(self, address, count):
        return bytes(gdb.selected_inferior().read_memory(address, count)) if count > 0 else b""

    def integer(self, address, size, signed=False):
        return int.from_bytes(self.bytes(address, size), self.order, signed=signed)

    def u32(self, address):
        return self.integer(address, 4)

    def pointer(self, address):
        return self.integer(address, self.pointer_size)

    def pointers(self, address, count):
        return [self.pointer(address + i * self.pointer_size) for i in range(count)]

    @property
    def string_size(self):
        return 2 * self.pointer_size + 16


class StdString:
    """A std::string as libstdc++ lays it out: data, size, then the bytes of a short one, or the
    capacity."""

    def __init__(self, memory, address):
        self.memory = memory
        self.data, self.size = memory.pointers(address, 2)
        own = address + 2 * memory.pointer_size
        capacity = 15 if self.data == own else memory.pointer(own)
        if self.size > capacity:
            raise Corrupt("invalid string of %d bytes" % self.size)

    def lazy(self):
        """For gdb, which reads as much as it is set to print."""
        char = gdb.lookup_type("char").pointer()
        return gdb.Value(self.data).cast(char).lazy_string(length=self.size)

    def quoted(self):
        """As a literal of C, in characters that gdb can show."""
        text = self.memory.bytes(self.data, min(self.size, TEXT_BYTES_SHOWN))
        text = text.replace(b"\\", rb"\\").replace(b'"', rb"\"")
        text = "".join(c if c.isprintable() else c.encode("unicode_escape").decode()
                       for c in text.decode("utf-8", "backslashreplace"))
        charset = gdb.target_charset()
        text = text.encode(charset, "backslashreplace").decode(charset)
        return '"%s"%s' % (text, "..." if self.size > TEXT_BYTES_SHOWN else "")


class Members:
    """The elements of a MemberMap, whose `root_` is given: see member_map.h."""

    def __init__(self, memory, root, has_string_keys, value_type):
        self.memory = memory
        self.value_type = value_type
        self.has_string_keys = has_string_keys
        integer = gdb.lookup_type("long long")
        key_size = memory.string_size if has_string_keys else 8
        key_alignment = memory.pointer_size if has_string_keys else integer.alignof
        value_alignment = value_type.alignof
        self.value_offset = aligned(key_size, value_alignment)
        self.stride = aligned(self.value_offset + value_type.sizeof,
                              max(key_alignment, value_alignment))
        self.size, self.blocks, self.links = 0, [], None
        if root != 0:
            self._open(root)

    def _open(self, root):
        self.size, capacity = self.memory.u32(root), self.memory.u32(root + 4)
        self.used = self.size
        if capacity != 0:
            self.blocks = [(0, capacity, root + 8)]
        else:
            self._open_spread(root)
            capacity = sum(count for _, count, _ in self.blocks)
        if not self.size <= self.used <= capacity <= MOST_MEMBERS:
            raise Corrupt("invalid size %d" % self.size)

    def _open_spread(self, root):
        self.used, _, self.first, self.last = (
            self.memory.u32(root + offset) for offset in (8, 12, 16, 20))
        _, _, begin, end, _, links, _, _, index = self.memory.pointers(root + 24, 9)
        block_size = self.memory.pointer_size + 8
        if not 0 < end - begin <= MOST_BLOCKS * block_size:
            raise Corrupt("invalid number of blocks")
        for block in range(begin, end, block_size):
            start, count = (self.memory.u32(block + block_size - offset) for offset in (8, 4))
            self.blocks.append((start, count, self.memory.pointer(block)))
        if index != 0:
            self.links = links

    def _at(self, position):
        for start, count, elements in self.blocks:
            if start <= position < start + count and position < self.used:
                return elements + (position - start) * self.stride
        raise Corrupt("invalid position %d" % position)

    def __iter__(self):
        """The addresses of the elements, in key order."""
        if self.links is None:
            for position in range(self.size):
                yield self._at(position)
            return
        # A chain whose links back are right has no circle.
        position, previous = self.first, NO_SLOT
        for _ in range(self.size):
            element = self._at(position)
            link = self.links + 8 * position
            if self.memory.u32(link) != previous:
                raise Corrupt("broken chain at position %d" % position)
            yield element
            previous, position = position, self.memory.u32(link + 4)

    def integer_key(self, element):
        return self.memory.integer(element, 8, True)

    def child(self, element, count):
        """Name and value of an element, before which there were so many."""
        value = gdb.Value(element + self.value_offset).cast(self.value_type.pointer()).dereference()
        value.fetch_lazy()  # gdb would give the whole tree up if it could not read this later
        if not self.has_string_keys:
            return "[%d]" % self.integer_key(element), value
        key = StdString(self.memory, element)
        # No two names may be the same.
        number = " #%d" % count if key.size > TEXT_BYTES_SHOWN else ""
        return "[%s%s]" % (key.quoted(), number), value

    def is_sequence(self):
        """Whether the keys are 0, 1, 2 and so on: they are integers and distinct."""
        if self.size == 0:
            return True
        indexed = self.links is not None
        ends = (self.first, self.last) if indexed else (0, self.size - 1)
        return [self.integer_key(self._at(position)) for position in ends] == [0, self.size - 1]


class TextPrinter:
    """What has no children."""

    def __init__(self, text):
        self.text = text

    def to_string(self):
        return self.text


class StringPrinter(TextPrinter):
    def display_hint(self):
        return "string"


class TreePrinter:
    """A title, and the members of one or two sets below it.

    Keys are the names of the children, which every front end shows. Keys as children of their own
    (the hint "map") would be there arrays of characters.
    """

    def __init__(self, title, sets, is_sequence=False):
        self.title = title
        self.sets = sets
        self.is_sequence = is_sequence

    def to_string(self):
        return "%s of %d" % (self.title, sum(members.size for members in self.sets))

    def display_hint(self):
        return "array" if self.is_sequence else None

    def children(self):
        count = 0
        try:
            for members in self.sets:
                for element in members:
                    yield members.child(element, count)
                    count += 1
        except ERRORS as error:
            yield "<error>", shown(error)


class ElementPrinter:
    """The member that an iterator is at."""

    def __init__(self, members, element):
        self.members = members
        self.element = element

    def children(self):
        try:
            yield self.members.child(self.element, 0)
        except ERRORS as error:
            yield "<error>", shown(error)


def guarded(make):
    """A function that makes a printer of a value: it gets no reference, and never fails."""

    def make_printer(value):
        try:
            if value.type.strip_typedefs().code in (gdb.TYPE_CODE_REF, gdb.TYPE_CODE_RVALUE_REF):
                value = value.referenced_value()
            return make(value)
        except ERRORS as error:
            return TextPrinter(shown(error))

    return make_printer


def timestamp_text(seconds, microseconds):
    """As the library writes it, for years of any size too."""
    if not 0 <= microseconds < 1000000:
        return "timeval(%d,%d)" % (seconds, microseconds)
    days, second = divmod(seconds, 86400)
    cycles, day = divmod(days - 10957, 146097)  # since 2000-01-01, in cycles of 400 years
    date = datetime.date(2000, 1, 1) + datetime.timedelta(days=day)
    year = date.year + 400 * cycles
    sign = "-" if year < 0 else "+" if year > 9999 else ""
    return "%s%04d-%02d-%02dT%02d:%02d:%02d.%06dZ" % (
        sign, abs(year), date.month, date.day, second // 3600, second // 60 % 60, second % 60,
        microseconds)


def read_timestamp(memory, address, timeval):
    # Both fields have the same width, which differs by target where the type is known.
    width = timeval.sizeof // 2 if timeval.sizeof >= 8 else memory.pointer_size
    return timestamp_text(*(memory.integer(address + i * width, width, True) for i in (0, 1)))


def buffer_text(memory, address):
    """Of the VariantBuffer there."""
    external = memory.integer(address, 1)
    data = memory.pointer(address + memory.pointer_size)
    size = memory.u32(address + 2 * memory.pointer_size)
    text = "(BINARY%s) %d byte%s" % (", external" if external else "", size, "s"[:size != 1])
    if size == 0:
        return text
    try:
        content = memory.bytes(data, min(size, BYTES_SHOWN)).hex(" ")
    except ERRORS as error:
        content = shown(error)
    return "%s: %s%s" % (text, content, " ..." if size > BYTES_SHOWN else "")


def map_printer(memory, address, variant_type, is_typed):
    """For the VariantMap there."""
    is_array = memory.integer(address, 1) != 0
    name = address + memory.pointer_size
    roots = memory.pointers(name + memory.string_size, 2)
    numeric, strings = (Members(memory, root, has_string_keys, variant_type)
                        for root, has_string_keys in zip(roots, (False, True)))
    title = "array" if is_array else "map"
    if is_typed:
        title = "typed %s %s" % (title, StdString(memory, name).quoted())
    is_sequence = is_array and strings.size == 0 and numeric.is_sequence()
    return TreePrinter(title, [numeric, strings], is_sequence)


def variant_type_of(value):
    """The type Variant, also for an object of a class that is derived from it."""
    variant_type = value.type.strip_typedefs().unqualified()
    while variant_type.fields()[0].is_base_class:
        variant_type = variant_type.fields()[0].type
    return variant_type


@guarded
def variant_printer(value):
    if not value.type.strip_typedefs().fields():
        raise Corrupt("incomplete type: -femit-class-debug-always (GCC) or -fstandalone-debug "
                      "(Clang) completes it")
    code, payload = int(value["type_"]), value["payload_"]
    memory = Memory(value.type)
    stored = int(payload["bits"]).to_bytes(8, memory.order)
    address = int(payload["map"])
    if code == NULL:
        return TextPrinter("null")
    if code == BOOL:
        return TextPrinter("false" if stored[0] == 0 else "true")
    if code in INTEGERS:
        name, size, signed = INTEGERS[code]
        return TextPrinter("(%s) %d" % (
            name, int.from_bytes(stored[:size], memory.order, signed=signed)))
    if code == DOUBLE:
        return TextPrinter("(DOUBLE) %r" % float(payload["number"]))
    if code == TIMESTAMP:
        timeval = payload["timestamp"].type.target()
        return TextPrinter("(TIMESTAMP) " + read_timestamp(memory, address, timeval))
    if code == STRING:
        return StringPrinter(StdString(memory, address).lazy())
    if code == BINARY:
        return TextPrinter(buffer_text(memory, address))
    if code in (MAP, TYPED_MAP):
        return map_printer(memory, address, variant_type_of(value), code == TYPED_MAP)
    return TextPrinter("<invalid type 0x%04x>" % code)


@guarded
def variant_map_printer(value):
    if value.address is None:
        raise Corrupt("not in memory")
    variant_type = gdb.lookup_type("vexo::variant::Variant")
    memory = Memory(variant_type)
    address = int(value.address)
    name_size = memory.pointer(address + 2 * memory.pointer_size)
    return map_printer(memory, address, variant_type, name_size != 0)


@guarded
def buffer_printer(value):
    if value.address is None:
        raise Corrupt("not in memory")
    return TextPrinter(buffer_text(Memory(value.type), int(value.address)))


def members_of(map_type, root):
    map_type = map_type.strip_typedefs().unqualified()
    key = map_type.template_argument(0).strip_typedefs()
    return Members(Memory(map_type), root, key.code != gdb.TYPE_CODE_INT,
                   map_type.template_argument(1))


@guarded
def member_map_printer(value):
    return TreePrinter("MemberMap", [members_of(value.type, int(value["root_"]))])


@guarded
def iterator_printer(value):
    if int(value["map_"]) == 0:
        return TextPrinter("no element of any map")
    if int(value["element_"]) == 0:
        return TextPrinter("end()")
    # The map itself is not looked at: of its elements only the layout counts.
    return ElementPrinter(members_of(value["map_"].type.target(), 0), int(value["element_"]))


def register(objfile):
    printers = gdb.printing.RegexpCollectionPrettyPrinter("libvexo_variant")
    for name, make_printer in (
            ("Variant|BaseVariantContainer", variant_printer),
            ("VariantMap", variant_map_printer),
            ("VariantBuffer", buffer_printer),
            ("MemberMap<((?!>::).)*>", member_map_printer),
            ("MemberMap<.*>::Iterator<(true|false)>", iterator_printer)):
        printers.add_printer(name, "^vexo::variant::(%s)$" % name, make_printer)
    gdb.printing.register_pretty_printer(objfile, printers, replace=True)


register(gdb.current_objfile())
