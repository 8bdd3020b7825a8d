#!/usr/bin/python3
"""The papers keep up with the code: configuration keys, environment, options of the tools, links."""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
SOURCES = ["platform", "src", "LumConfPar", "LumConfCluster", "tools"]
# Where a key is only handed out as a name.
NAMING = {"LumPalKeys.h", "ConfBase.cpp", "ChangedNames.cpp", "KnownKeys.cpp", "KnownKeyNames.cpp"}
SPELLED = ROOT / "platform/include/LumPalKeys.h"
LINK = re.compile(r"\[[^\]\n]*\]\(([^)\s]+)\)")


def sources(*folders):
    return [path for folder in folders for path in sorted((ROOT / folder).rglob("*")) if path.suffix in (".h", ".cpp")]


def text_of(path):
    return path.read_text(encoding="utf-8")


def spelled_keys():
    """{constant: spelling} of the namespaces and keys."""
    return dict(re.findall(r'Name (\w+) = "([\w.]+)"', text_of(SPELLED)))


def keys_of_the_code():
    """{key: whether somebody reads it}, by the names of LumPalKeys.h."""
    named = {name: key for name, key in spelled_keys().items() if name.endswith("Key")}
    keys = dict.fromkeys(named.values(), False)
    handed_out = dict(re.findall(r"ConfBase::(\w+)\(\) \{\s+return names::(\w+Key);", text_of(ROOT / "src/ConfBase.cpp")))
    for path in sources(*SOURCES):
        text = text_of(path)
        if path.name not in NAMING:
            keys.update((named[name], True) for name in re.findall(r"\b(\w+Key)\b", text) if name in named)
            for member in re.findall(r"ConfBase::(\w+)\(\)", text):
                if member in handed_out:
                    keys[named[handed_out[member]]] = True
    return keys


def check_spelling():
    """Only LumPalKeys.h spells a key."""
    keys = {key for name, key in spelled_keys().items() if name.endswith("Key")}
    for path in sources(*SOURCES, "node"):
        lines = [] if path == SPELLED else text_of(path).splitlines()
        for key in re.findall(r'"([A-Z_]+)"', "\n".join(line for line in lines if not line.lstrip().startswith("//"))):
            if key in keys:
                yield f"{path.relative_to(ROOT)}: {key} is spelled in {SPELLED.name} alone"


def check_audited_keys():
    """The second line of the audit log tells each key that has a row, under its namespace."""
    told = text_of(ROOT / "docs/configuration.md").split("## Names that are reserved")[0]
    table = text_of(ROOT / "LumConfPar/ChangedNames.cpp").split("kKnown[] = {")[1].split("\n};")[0]
    spelled = spelled_keys()
    known = {spelled[space]: {spelled[key] for key in re.findall(r"\w+", keys)} for space, keys in
             re.findall(r"\{(\w+),\s*\{(.*?)\}\}", table, re.S)}
    for space, section in re.findall(r"^## ([a-z.]+\.[a-z.]+)$(.*?)(?=^## )", told + "\n## ", re.M | re.S):
        rows = set(re.findall(r"^\| `([A-Z][A-Z0-9_]+)` \|", section, re.M))
        for key in sorted(rows ^ known.get(space, set())):
            yield f"LumConfPar/ChangedNames.cpp: the known keys of {space} and docs/configuration.md differ in {key}"
    products = set(re.findall(r'"\.RGState\.([A-Z]+)"', text_of(ROOT / "LumConfCluster/ClusterProducts.cpp")))
    states = re.search(r"kProducts\[\] = \{(.*?)\}", text_of(ROOT / "LumConfPar/ChangedNames.cpp"), re.S).group(1)
    if products != set(re.findall(r'"([A-Z]+)"', states)):
        yield "LumConfPar/ChangedNames.cpp: the namespaces of words for states differ from those of the products"
    if sum(map(len, known.values())) + len(known) + 6 * len(products) > 100:
        yield "LumConfPar/ChangedNames.cpp: the known keys and their namespaces might not all be told"


def check_keys():
    page = text_of(ROOT / "docs/configuration.md")
    told, reserved = page.split("## Names that are reserved")
    reserved = reserved.split("## Environment")[0]
    rows = set(re.findall(r"^\| `([A-Z][A-Z0-9_]+)` \|", told, re.M))
    named = set(re.findall(r"`([A-Z][A-Z0-9_]+)`", reserved))
    keys = keys_of_the_code()
    if len(keys) < 30:
        yield f"only {len(keys)} configuration keys were found in the code"
    for key, is_read in sorted(keys.items()):
        if is_read and key not in rows:
            yield f"docs/configuration.md: {key} is read and has no row"
        if not is_read and key not in named and key not in rows:
            yield f"docs/configuration.md: {key} is not mentioned"
    for key in sorted(rows | named):
        if key not in keys:
            yield f"docs/configuration.md: the code knows no key {key}"
        elif key in named and keys[key]:
            yield f"docs/configuration.md: {key} is called reserved and is read"


def number(expression):
    """The value of a constant such as (1u << 31) - 1."""
    plain = re.sub(r"std::uint64_t\{(\d+)\}", r"\1", expression)
    plain = re.sub(r"(\d)u\b", r"\1", plain)
    if not re.fullmatch(r"[\d\s()<+-]+", plain):
        raise ValueError(expression)
    return eval(plain, {"__builtins__": {}})


def check_bounds():
    """The bounds and defaults of the server's limits are those of the code."""
    rows = dict(re.findall(r"^\| `([A-Z_]+)` \| (.*)", text_of(ROOT / "docs/configuration.md"), re.M))
    code = text_of(ROOT / "platform/vox/HttpLimits.cpp")
    spelled = spelled_keys()
    bounds = {spelled[key]: (number(least), number(most)) for key, least, most in
              re.findall(r"(?:Count|Bytes)\(configuration, (\w+Key), ([^,]+), ([^,]+),", code)}
    bounds.update((spelled[key], (100, 3600000)) for key in re.findall(r"Time\(configuration, (\w+Key)", code))
    defaults = {key: number(value) for value, key in re.findall(
        r"(?:= |\{)([\du <+-]+)\}?;\s+///< (\w+)", text_of(ROOT / "platform/vox/HttpLimits.h"))}
    if len(bounds) < 12 or "number(configuration, key, 100, 3600000" not in code.lower():
        yield "the bounds in platform/vox/HttpLimits.cpp were not found"
    for key, (least, most) in sorted(bounds.items()):
        cells = rows.get(key, "").split(" | ")
        if f"{least} to {most}" not in cells[0]:
            yield f"docs/configuration.md: {key} goes from {least} to {most}"
        if key in defaults and cells[1:2] != [str(defaults[key])]:
            yield f"docs/configuration.md: the default of {key} is {defaults[key]}"


def check_environment():
    page = text_of(ROOT / "docs/configuration.md").split("## Environment")[1]
    for path in sources(*SOURCES):
        for name in re.findall(r'(?:getenv|Environment_t::Get)\("(\w+)"\)', text_of(path)):
            if f"`{name}`" not in page:
                yield f"docs/configuration.md: {name} of {path.relative_to(ROOT)} is not mentioned"


# What names nodes, and is not there where the commands of a tool ask this node alone.
OF_MANY_NODES = {"--host", "--hosts-file", "--parallel", "--target-id"}


def options_of(tool):
    """Every option that a tool's sources declare, also those of the parts that it shares."""
    missing = OF_MANY_NODES if any("Asks::ThisNode" in text_of(path) for path in files_of(tool)) else set()
    for path in files_of(tool) + shared_by(tool):
        for declared in re.findall(r'add_(?:option|flag)\w*\(\s*"([^"]+)"', text_of(path)):
            yield from (word for word in declared.split(",") if word.startswith("-") and word not in missing)


def files_of(tool):
    return [ROOT / f"tools/{tool}.cpp", *sources(f"tools/{tool}")]


def shared_by(tool):
    """The files of the parts that it includes, and of those that these include."""
    shared, more = set(), files_of(tool)
    while more:
        stems = {stem for path in more for stem in re.findall(r'#include "common/(\w+)\.h"', text_of(path))}
        more = [path for path in sources("tools/common") if path.stem in stems and path not in shared]
        shared.update(more)
    return sorted(shared)


def check_options():
    sections = dict(re.findall(r"^## (\w+)\n(.*?)(?=^## |\Z)", text_of(ROOT / "docs/tools.md"), re.M | re.S))
    tools = sorted(path.stem for path in (ROOT / "tools").glob("*.cpp"))
    count = 0
    for tool in tools:
        if tool not in sections:
            yield f"docs/tools.md: {tool} has no section"
            continue
        for option in sorted(set(options_of(tool))):
            count += 1
            if not re.search(rf"`{re.escape(option)}[` ]", sections[tool]):
                yield f"docs/tools.md: {tool} {option} is not mentioned"
    if count < 30:
        yield f"only {count} options were found in tools/"
    for tool in sorted(set(sections) - set(tools)):
        yield f"docs/tools.md: there is no tool {tool}"


def slug(heading):
    """The anchor of a heading."""
    return re.sub(r"[^\w\- ]", "", re.sub(r"[`*]", "", heading)).strip().lower().replace(" ", "-")


def anchors(path):
    text = re.sub(r"```.*?```", "", text_of(path), flags=re.S)
    return {slug(heading) for heading in re.findall(r"^#+ (.+)$", text, re.M)}


def pages():
    found = [*ROOT.glob("*.md"), *(ROOT / "docs").rglob("*.md")]
    for folder in [*SOURCES, "tests", "bench", "examples", "packaging"]:
        found += (ROOT / folder).rglob("*.md")
    return sorted(found)


def check_links():
    for page in pages():
        for link in LINK.findall(re.sub(r"```.*?```", "", text_of(page), flags=re.S)):
            if re.match(r"[a-z]+:", link):
                continue
            name, _, anchor = link.partition("#")
            target = (page.parent / name).resolve() if name else page
            where = f"{page.relative_to(ROOT)}: the link {link}"
            if not target.exists():
                yield f"{where} leads nowhere"
            elif anchor and anchor not in anchors(target):
                yield f"{where} names no heading"


def check_rooms():
    for folder in [*SOURCES, "tests", "bench", "examples", "packaging"]:
        if not (ROOT / folder / "README.md").is_file():
            yield f"{folder}/ has no README.md"


def main():
    checks = (check_keys, check_spelling, check_audited_keys, check_bounds, check_environment, check_options, check_links,
              check_rooms)
    errors = [error for check in checks for error in check()]
    for error in errors:
        print(error)
    return 1 if errors else 0


if __name__ == "__main__":
    sys.exit(main())
