"""Location constraints of every kind for a drawn cluster (cibs.py), and what Pacemaker itself makes of them.

What may be drawn is what can be told from a configuration. What cannot (times, comparisons of numbers) is drawn as what
keeps away alone: crm_mon tells that.
"""
import re
from xml.sax.saxutils import quoteattr

INFINITY = 10**6
SCORES = ["-INFINITY", "INFINITY", "100", "-100", "0", "7", "-7"]
ROLES = ["Started", "Promoted", "Master", "Unpromoted", "Slave"]
SITES = ["paris", "rome", "oslo"]
PAST, FUTURE = ('operation="lt" end="2020-01-01"', 'operation="gt" start="2020-01-01"')
SCORE_LINE = re.compile(r"^(?:pcmk__)?(\w+): (\S+) allocation score on (\S+): (\S+)$")
PROMOTION_LINE = re.compile(r"^\S+?:\d+ promotion score on (\S+): (\S+)$")


def drawn(random, chance, text):
    return text if random.random() < chance else ""


class Locations:
    """Drawn once for a shape; templates names those of members that have one."""

    def __init__(self, random, nodes, members, templates):
        self.random, self.nodes, self.members, self.templates = random, nodes, members, templates
        self.lasting = {node: self.draw_attributes("l") for node in nodes}
        self.transient = {node: self.draw_attributes("t") if random.random() < 0.3 else {} for node in nodes}
        self.tags = [random.sample(self.named(), 1) for _ in range(2)] if members else []
        self.count = 0
        self.text = "".join(self.draw() for _ in range(random.randint(0, 6) if members else 0))

    def draw_attributes(self, which):
        values = {"site": self.random.choice(SITES), "hot": "yes", "n" + which: self.random.choice(["9", "INFINITY", "-INFINITY"])}
        return {name: value for name, value in values.items() if self.random.random() < 0.5}

    def named(self):
        """The resources that stand alone are as likely as all that is in them."""
        return [*self.members, *self.members, *(id for ids in self.members.values() for id in ids)]

    def id(self):
        self.count += 1
        return f'id="l{self.count}"'

    def role(self):
        return drawn(self.random, 0.3, f' role="{self.random.choice(ROLES)}"')

    # Constraints

    def draw(self):
        """One that holds at times only, or is compared by number, is there to keep away."""
        number, is_timed = self.id(), self.random.random() < 0.15
        alone = "" if is_timed else drawn(self.random, 0.15, f' resource-discovery="{self.random.choice(["exclusive", "exclusive", "never", "always"])}"')
        target, inside, has_set = self.draw_target(is_timed)
        score = "-INFINITY" if is_timed else self.random.choice(SCORES)
        if self.random.random() < 0.5:
            node = self.random.choice(self.nodes)
            node = self.random.choice([node, node.swapcase()])  # their case does not count
            role = "" if has_set else self.role()
            lifetime = (f'<lifetime><rule {self.id()} score="0"><date_expression {self.id()} '
                        f'{self.random.choice([PAST, FUTURE])}/></rule></lifetime>') if is_timed else ""
            return (f'<rsc_location {number} {target} node="{node}" score="{score}"{role}{alone}>{inside}{lifetime}'
                    "</rsc_location>")
        role = "" if has_set else drawn(self.random, 0.1, ' role="Promoted"')
        rules = "".join(self.rule(score, is_timed) for _ in range(self.random.choice([1, 1, 2])))
        return f"<rsc_location {number} {target}{role}{alone}>{inside}{rules}</rsc_location>"

    def draw_target(self, is_timed):
        """The attributes, what stands inside, and whether that is a set."""
        kind = self.random.choice(["resource"] * 4 + ["template", "tag", "pattern", "set", "set"])
        name = self.random.choice(self.named())
        if kind == "template" and self.templates:
            return f'rsc="{self.random.choice(self.templates)}"', "", False
        if kind == "tag":
            return f'rsc="{self.random.choice(["tag0", "tag1"])}"', "", False
        if kind == "pattern":
            return f'rsc-pattern={quoteattr(self.random.choice(["^%s$", "!^%s$", "%s", "g[01]", ".*"]).replace("%s", name))}', "", False
        if kind == "set":
            return "", "".join(self.set(is_timed) for _ in range(self.random.choice([1, 1, 2]))), True
        return f'rsc="{name}"', "", False

    def set(self, is_timed):
        score = drawn(self.random, 0 if is_timed else 0.2, f' score="{self.random.choice(["-100", "0", "100"])}"')
        names = self.random.sample(self.named() + ["tag0"], self.random.choice([1, 2]))
        return (f"<resource_set {self.id()}{self.role()}{score}>" +
                "".join(f'<resource_ref id="{name}"/>' for name in sorted(set(names))) + "</resource_set>")

    # Rules

    def rule(self, score, is_timed):
        told = f'score="{score}"'
        if not is_timed and self.random.random() < 0.15:
            told = f'score-attribute="{self.random.choice(["nl", "nt", "site"])}"'
        timed = self.untold() if is_timed else ""
        # In a rule Started is no role that holds; but crm_mon tells a ban by it.
        role = "" if "-INFINITY" in told or "attribute" in told else self.role()
        role = role or drawn(self.random, 0.2, f' role="{self.random.choice(ROLES[1:])}"')
        return f'<rule {self.id()} {told}{role}{self.operator()}>{timed}{self.expressions()}</rule>'

    def operator(self):
        return self.random.choice(["", ' boolean-op="and"', ' boolean-op="or"'])

    def expressions(self):
        inner = drawn(self.random, 0.2, f'<rule {self.id()} score="0"{self.operator()}>{self.expression()}{self.expression()}</rule>')
        return inner + "".join(self.expression() for _ in range(self.random.choice([1, 1, 2])))

    def expression(self):
        name = self.random.choice(self.nodes)
        attribute, values = self.random.choice([
            ("#uname", [name, name.swapcase()]), ("#uname", [name]), ("#id", [str(1 + self.nodes.index(name))]),
            ("#kind", ["cluster", "remote"]), ("site", SITES + ["PARIS"]), ("site", SITES), ("hot", ["yes"]),
            ("nl", ["9"]), ("missing", ["x"])])
        operation = self.random.choice(["eq", "eq", "ne", "defined", "not_defined"])
        value = f' value="{self.random.choice(values)}"' if operation in ("eq", "ne") else ""
        return f'<expression {self.id()} attribute="{attribute}" operation="{operation}"{value}/>'

    def untold(self):
        return self.random.choice([f"<date_expression {self.id()} {PAST}/>", f"<date_expression {self.id()} {FUTURE}/>",
                                   f'<expression {self.id()} attribute="nl" operation="lt" value="10"/>'])

    # The text

    def attributes_text(self, facts, node, where):
        pairs = "".join(f'<nvpair id="{node}-{where}-{name}" name="{name}" value="{value}"/>' for name, value in facts[node].items())
        return f'<instance_attributes id="{node}-{where}">{pairs}</instance_attributes>'

    def lasting_text(self, node):
        return self.attributes_text(self.lasting, node, "lasting")

    def transient_text(self, number, node):
        return (f'<transient_attributes id="{number}">{self.attributes_text(self.transient, node, "transient")}'
                "</transient_attributes>")

    def tags_text(self):
        tags = "".join(f'<tag id="tag{number}">{"".join(f"<obj_ref id={quoteattr(id)}/>" for id in ids)}</tag>'
                       for number, ids in enumerate(self.tags))
        return f"<tags>{tags}</tags>"


def value_of(score):
    return INFINITY if score == "INFINITY" else -INFINITY if score == "-INFINITY" else int(score)


def added(scores):
    for infinite in (-INFINITY, INFINITY):
        if infinite in scores:
            return infinite
    return sum(scores)


class Scores:
    """What crm_simulate tells by --show-scores of a cluster in which nothing runs yet."""

    def __init__(self, text):
        self.by_part = {}  # what is told by which part of it of a resource: scores by nodes
        self.promotions = {}
        for line in text.splitlines():
            if told := SCORE_LINE.match(line):
                self.by_part.setdefault((told[1], told[2]), {})[told[3]] = value_of(told[4])
            elif told := PROMOTION_LINE.match(line):
                self.promotions.setdefault(line.split(":")[0], {})[told[1]] = value_of(told[2])

    def on(self, kind, name, members, node):
        """Its scores there, None where it is not even weighed."""
        part, ids = {"primitive": ("primitive_assign", [name]), "group": ("group_assign", members)}.get(
            kind, ("clone_allocate", [name]))
        scores = [self.by_part.get((part, id), {}).get(node) for id in ids]
        return None if None in scores else added(scores)

    def promotion(self, member, node):
        """As no agent has asked for one, Pacemaker takes 1 off; None where no copy would be."""
        told = self.promotions.get(member, {}).get(node)
        return None if told is None else told if abs(told) == INFINITY else told + 1
