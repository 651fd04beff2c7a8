"""Asks the built library from outside, as a host would, what its documents tell: families, chains, published items,
which frames a filter takes, and how many host calls a call makes. The simulated host records and counts.
"""
import ctypes
import itertools
import re

DEPTH, COLOUR = 3, 2
LIST_TYPES = range(16)
# The host filter inside each filter of the library's own.
OWN_FILTERS = {"OpenNIDisparityTransform": "DisparityTransform", "DepthResize": "HardwareD2CProcessor"}


class Family(ctypes.Structure):
    """The beginning of vysim_family; the rest is never read."""
    _fields_ = [("name", ctypes.c_char_p), ("vid", ctypes.c_uint16), ("pids", ctypes.POINTER(ctypes.c_uint16)),
                ("pid_count", ctypes.c_size_t), ("list_type", ctypes.c_int)]


class FilterDefinition(ctypes.Structure):
    _fields_ = [("name", ctypes.c_char_p), ("reported_name", ctypes.c_char_p), ("is_private", ctypes.c_bool),
                ("items", ctypes.c_void_p), ("item_count", ctypes.c_uint32), ("process", ctypes.c_void_p),
                ("user", ctypes.c_void_p)]


class Functions:
    """Functions of a library whose results are pointers unless told otherwise."""
    RESULTS = {"vysim_record_at": ctypes.c_char_p, "vysim_call_count": ctypes.c_uint64,
               "vysim_find_family": ctypes.POINTER(Family), "vysim_family_at": ctypes.POINTER(Family),
               "vysim_device_list": ctypes.c_int, "vy_frame_processor_get_config_schema": ctypes.c_char_p}

    def __init__(self, path):
        self._library = ctypes.CDLL(str(path), mode=ctypes.RTLD_GLOBAL)

    def __getattr__(self, name):
        function = getattr(self._library, name)
        function.restype = self.RESULTS.get(name, ctypes.c_void_p)
        setattr(self, name, function)
        return function


class Filter:
    """One filter of a chain, as its making shows it."""
    def __init__(self, name, inside=""):
        self.name, self.inside, self.arguments, self.enabled, self.items = name, inside, [], None, []

    def __repr__(self):
        return f"{self.name} {self.inside} {self.arguments} {self.enabled} {self.items}"


class Library:
    def __init__(self, folder):
        self.host = Functions(folder / "libTavrixSDK.so")
        self.own = Functions(folder / "libvy_frame_processor.so.1")
        self.maker = self.family("Corvid").vid

    def _checked(self, function, *arguments):
        """A call with an error slot of its own. A failure gives None."""
        error = ctypes.c_void_p()
        result = function(*arguments, ctypes.byref(error))
        if not error:
            return result
        self.host.vy_delete_error(error)
        return None

    def family(self, name):
        return self.host.vysim_find_family(name.encode()).contents

    def family_names(self):
        found = (self.host.vysim_family_at(ctypes.c_size_t(i)) for i in itertools.count())
        return [family.contents.name.decode() for family in itertools.takewhile(bool, found)]

    # ---- Contexts and processors

    def set_list(self, list_type, pairs):
        data = b"".join(vid.to_bytes(2, "little") + pid.to_bytes(2, "little") for vid, pid in pairs)
        data = data or b"\0"  # a single byte is no record: it empties the list
        self._checked(self.own.vy_set_device_info_data, list_type, data, len(data))

    def hand_over_lists(self):
        for list_type in LIST_TYPES:
            data = ctypes.POINTER(ctypes.c_uint8)()
            size = self.host.vysim_device_list(list_type, ctypes.byref(data))
            if size > 0:
                self._checked(self.own.vy_set_device_info_data, list_type, data, size)

    def clear_lists(self):
        for list_type in LIST_TYPES:
            self.set_list(list_type, [])

    def open(self, vid, pid):
        return Camera(self, vid, pid)

    def is_known(self, vid, pid):
        """Whether a camera belongs to any family: all of them have a chain for colour."""
        with self.open(vid, pid) as camera:
            return camera.has(COLOUR)

    def signature(self, vid, pid):
        """Everything that tells one family from another."""
        with self.open(vid, pid) as camera:
            return repr(camera.chains())

    def call_count(self):
        return self.host.vysim_call_count(None)


class Camera:
    """A context with its processors."""
    def __init__(self, library, vid, pid):
        self.library = library
        self.device = ctypes.c_void_p(library.host.vysim_create_device(vid, pid))
        self.context = ctypes.c_void_p(library._checked(library.own.vy_create_frame_processor_context, self.device))

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.library._checked(self.library.own.vy_destroy_frame_processor_context, self.context)
        self.library._checked(self.library.host.vysim_delete_device, self.device)

    def processor(self, sensor):
        return ctypes.c_void_p(self.library._checked(self.library.own.vy_create_frame_processor, self.context, sensor))

    def destroy(self, processor):
        self.library._checked(self.library.own.vy_destroy_frame_processor, processor)

    def schema(self, processor):
        """The settings' text; None for a sensor without a chain."""
        text = self.library._checked(self.library.own.vy_frame_processor_get_config_schema, processor)
        return None if text is None else text.decode()

    def has(self, sensor):
        processor = self.processor(sensor)
        schema = self.schema(processor)
        self.destroy(processor)
        return schema is not None

    def records(self, work):
        self.library.host.vysim_record_start()
        result = work()
        self.library.host.vysim_record_stop()
        texts = (self.library.host.vysim_record_at(ctypes.c_size_t(i)) for i in itertools.count())
        return result, [text.decode() for text in itertools.takewhile(lambda text: text is not None, texts)]

    def chain(self, sensor):
        """The filters of a sensor's chain in order; None if there is no chain."""
        processor, records = self.records(lambda: self.processor(sensor))
        schema = self.schema(processor)
        self.destroy(processor)
        if schema is None:
            return None
        filters = []
        for record in records:
            if made := re.match(r'vy_create_(private_)?filter\(name: "(\w+)"', record):
                name = OWN_FILTERS[made[2]] if made[1] else made[2]
                filters.append(Filter(name, made[2] if made[1] else ""))
            elif record.startswith("vy_filter_update_config("):
                filters[-1].arguments = re.findall(r'"([^"]*)"', record)
            elif record.startswith("vy_filter_enable("):
                filters[-1].enabled = "enable: true" in record
        for line in schema.splitlines():
            key, *columns = line.split(", ")
            name, item = key.split("#")
            each = next(each for each in filters if each.name == name)
            each.items.append(int(item))
            if item == "255":
                each.enabled = columns[4] == "1"
        return filters

    def chains(self):
        found = {sensor: self.chain(sensor) for sensor in range(0, 12)}
        return {sensor: chain for sensor, chain in found.items() if chain is not None}


# ---- What the documents tell of all this ---------------------------------------------------------------------------

def built_in_ids(library):
    """Ids of the maker by the family they belong to while the host has filled no list."""
    library.clear_lists()
    known = [pid for pid in range(0x10000) if library.is_known(library.maker, pid)]
    for pid in known:
        if library.is_known(library.maker + 1, pid):
            raise SystemExit(f"documents: product {pid:04X} of another vendor is known without a list")
    signatures = {pid: library.signature(library.maker, pid) for pid in known}
    names = family_by_signature(library)
    found = {}
    for pid, signature in signatures.items():
        found.setdefault(names[signature], []).append(pid)
    return found


def family_by_signature(library):
    library.hand_over_lists()
    names = {}
    for name in library.family_names():
        family = library.family(name)
        names[library.signature(family.vid, family.pids[0])] = name
    library.clear_lists()
    return names


def chains(library):
    """For each family, its chains by sensor."""
    library.hand_over_lists()
    found = {}
    for name in library.family_names():
        family = library.family(name)
        with library.open(family.vid, family.pids[0]) as camera:
            found[name] = camera.chains()
    library.clear_lists()
    return found


def lists(library):
    """The families that the host's lists stand for, by list type, and the types in the order in which they win."""
    stranger = (0x1234, 0x5678)
    names = family_by_signature(library)
    families = {}
    for list_type in LIST_TYPES:
        library.set_list(list_type, [stranger])
        if library.is_known(*stranger):
            families[list_type] = names[library.signature(*stranger)]
        library.set_list(list_type, [])
    wins = dict.fromkeys(families, 0)
    for pair in itertools.combinations(families, 2):
        for list_type in pair:
            library.set_list(list_type, [stranger])
        winner = names[library.signature(*stranger)]
        wins[next(each for each in pair if families[each] == winner)] += 1
        for list_type in pair:
            library.set_list(list_type, [])
    return families, sorted(families, key=lambda each: -wins[each])


def built_in_ids_that_lists_cannot_move(library, ids, families):
    """Ids that keep their own family although the host's list says another."""
    names = family_by_signature(library)
    fixed = []
    for list_type, listed in families.items():
        pairs = [(library.maker, pid) for each in ids.values() for pid in each]
        library.set_list(list_type, pairs)
        fixed += [(list_type, pid) for vid, pid in pairs if names[library.signature(vid, pid)] != listed]
        library.set_list(list_type, [])
    return fixed


def admitted_inputs(library):
    """For each filter of the depth chains, the (format, pixel type) pairs of inputs that it is run for."""
    library.hand_over_lists()
    library.host.vysim_reset()
    formats, pixel_types = range(0, 64), range(0, 8)
    found = {}
    for name in library.family_names():
        family = library.family(name)
        with library.open(family.vid, family.pids[0]) as probe:
            names = [each.name for each in probe.chain(DEPTH) if not each.inside]
        definitions = [FilterDefinition(name=each.encode()) for each in names]
        for definition in definitions:
            library._checked(library.host.vysim_define_filter, ctypes.byref(definition))
        with library.open(family.vid, family.pids[0]) as camera:
            processor = camera.processor(DEPTH)
            for kind in itertools.product(formats, pixel_types):
                frame = ctypes.c_void_p(library._checked(library.host.vysim_create_frame, 4, 2, *kind))
                process = library.own.vy_frame_processor_process_frame
                output, records = camera.records(lambda: library._checked(process, processor, frame))
                for each in re.findall(r"vy_filter_process\(filter: (\w+)", "\n".join(records)):
                    found.setdefault(each, set()).add(kind)
                for reference in (output, frame.value):
                    library._checked(library.host.vy_delete_frame, ctypes.c_void_p(reference))
            camera.destroy(processor)
        library.host.vysim_reset()
    library.clear_lists()
    everything = set(itertools.product(formats, pixel_types))
    return {name: kinds for name, kinds in found.items() if kinds != everything}


def host_calls(library, name, made_before):
    """Host calls of each call on a depth chain, with so many processors made and destroyed under its context before."""
    library.hand_over_lists()
    family = library.family(name)
    host, own = library.host, library.own
    source = ctypes.c_void_p(library._checked(host.vysim_open_camera, name.encode(), None))
    frame = ctypes.c_void_p(library._checked(host.vysim_camera_next_frame, source, DEPTH))
    host.vysim_reset()
    host.vysim_count_calls(True)
    counts = {}

    def counted(title, work):
        before = library.call_count()
        result = work()
        counts[title] = library.call_count() - before
        return result

    camera = counted("create a context", lambda: library.open(family.vid, family.pids[0]))
    for _ in range(made_before):
        camera.destroy(camera.processor(DEPTH))
    processor = counted("create a processor", lambda: camera.processor(DEPTH))
    schema = counted("read the settings' text", lambda: camera.schema(processor))
    process = own.vy_frame_processor_process_frame
    output = counted("process a frame", lambda: library._checked(process, processor, frame))
    library._checked(host.vy_delete_frame, ctypes.c_void_p(output))
    values = [line.split(", ")[5].encode() for line in schema.splitlines()]
    argv = (ctypes.c_char_p * len(values))(*values)
    counted("send the settings", lambda: library._checked(own.vy_frame_processor_update_config, processor, len(values),
                                                          argv))
    intrinsic = (ctypes.c_uint8 * 20)

    class Intrinsic(ctypes.Structure):
        _fields_ = [("bytes", intrinsic)]

    counted("hand over hardware D2C parameters", lambda: library._checked(
        own.vy_frame_processor_set_hardware_d2c_params, processor, Intrinsic(), ctypes.c_uint8(0), ctypes.c_float(1),
        *[ctypes.c_int16(0)] * 4, ctypes.c_bool(True), ctypes.c_bool(False)))
    counted("destroy a processor", lambda: camera.destroy(processor))
    counted("destroy a context", lambda: camera.__exit__())
    host.vysim_count_calls(False)
    library._checked(host.vy_delete_frame, frame)
    library._checked(host.vysim_close_camera, source)
    library.clear_lists()
    return counts
