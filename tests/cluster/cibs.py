"""Configurations of Pacemaker clusters by the hundred, each of a number, and what is to be seen of it.

A Shape is drawn from its number alone. It tells the text of a CIB, of which the true tools make what they tell, and what
LumConf is to make of that: from what was drawn, not from the text.
"""
import copy
import random
from dataclasses import dataclass, field
from xml.sax.saxutils import quoteattr

from locations import INFINITY, Locations, added

KEY = "1:1:0:c7361723-6772-4b78-b5c0-97b68496af47"
ONLINE, STANDBY, MAINTENANCE, PENDING, OFFLINE, UNCLEAN = "online", "standby", "maintenance", "pending", "offline", "unclean"
# How a node's state is written in the status, and what is seen of it.
NODE_STATES = {ONLINE: ('in_ccm="true" crmd="online" join="member" expected="member"', "Online", ""),
               STANDBY: ('in_ccm="true" crmd="online" join="member" expected="member"', "Online", "standby"),
               MAINTENANCE: ('in_ccm="true" crmd="online" join="member" expected="member"', "Online", "maintenance"),
               PENDING: ('in_ccm="true" crmd="online" join="pending" expected="member"', "Unknown", "pending"),
               OFFLINE: ('in_ccm="false" crmd="offline" join="down" expected="down"', "Offline", ""),
               UNCLEAN: ('in_ccm="false" crmd="offline" join="down" expected="member"', "Unknown", "unclean")}
STARTED, STOPPED, FAILED, STARTING, STOPPING = "started", "stopped", "failed", "starting", "stopping"
# What a member's last operations were: their names, intervals in ms, and codes; None has not ended.
OPERATIONS = {STARTED: [("start", 0, 0)], STOPPED: [("monitor", 0, 7)], FAILED: [("start", 0, 0), ("monitor", 10000, 1)],
              STARTING: [("start", 0, None)], STOPPING: [("monitor", 10000, 0), ("stop", 0, None)],
              "promoted": [("promote", 0, 0)]}


def pair(where, name, value):
    return f"<nvpair id={quoteattr(where + '-' + name)} name={quoteattr(name)} value={quoteattr(value)}/>"


def operation(member, number, name, interval, code):
    op_status, told = (-1, 193) if code is None else (0, code)
    kind = "last_0" if interval == 0 else f"monitor_{interval}"
    return (f'<lrm_rsc_op id="{member}_{kind}" operation_key="{member}_{name}_{interval}" operation="{name}" '
            f'crm_feature_set="3.16.2" transition-key="{KEY}" transition-magic="{op_status}:{told};{KEY}" '
            f'call-id="{-1 if code is None else number}" rc-code="{told}" op-status="{op_status}" interval="{interval}"/>')


CLONED_GROUP = "clone of a group"
# Where an address stands.
OWN, TEMPLATE, REFERRED, REFERRED_PAIR = "own", "template", "referred", "referred pair"


@dataclass
class Member:
    id: str
    address: str = ""
    style: str = OWN
    disabled: bool = False
    managed: bool = True
    agent: str = "IPaddr2"  # of an address
    blocks: bool = False  # when it fails
    where: dict = field(default_factory=dict)  # states by nodes
    promoted_max: str = ""  # of the clone that it is in

    def meta(self):
        pairs = (pair(self.id, "target-role", "Stopped") if self.disabled else "") + \
                (pair(self.id, "is-managed", "false") if not self.managed else "")
        return f'<meta_attributes id="{self.id}-meta">{pairs}</meta_attributes>' if pairs else ""

    def attributes(self):
        return (f'<instance_attributes id="{self.id}-attributes">{pair(self.id, "ip", self.address)}'
                "</instance_attributes>") if self.address else ""

    def template(self):
        """What stands beside the resources."""
        if not self.address or self.style == OWN:
            return ""
        return (f'<template id="{self.id}-t" class="ocf" provider="heartbeat" type="{self.agent}">{self.attributes()}'
                "</template>")

    def kind(self):
        return (self.agent, "heartbeat") if self.address else ("Dummy", "pacemaker")

    def operations(self):
        return (f'<operations><op id="{self.id}-watch" name="monitor" interval="10s" on-fail="block"/></operations>'
                if self.blocks else "")

    def text(self):
        if self.address and self.style == TEMPLATE:
            return f'<primitive id="{self.id}" template="{self.id}-t">{self.meta()}{self.operations()}</primitive>'
        kind, provider = self.kind()
        attributes = self.attributes()
        if self.address and self.style == REFERRED:
            attributes = f'<instance_attributes id-ref="{self.id}-attributes"/>'
        if self.address and self.style == REFERRED_PAIR:
            attributes = (f'<instance_attributes id="{self.id}-own"><nvpair id-ref="{self.id}-ip" name="ip"/>'
                          "</instance_attributes>")
        return (f'<primitive id="{self.id}" class="ocf" provider="{provider}" type="{kind}">{attributes}{self.meta()}'
                f"{self.operations()}</primitive>")


@dataclass
class Seen:
    """What a resource group is to look like."""
    state: str
    node: str = ""
    address: str = ""
    local: str = "Offline"
    everywhere: bool = False
    detail: str = ""


class Shape:
    def __init__(self, number):
        self.number = number
        self.random = random.Random(number)
        self.quorum = self.random.random() < 0.8
        self.opt_in = self.random.random() < 0.2
        self.maintenance = self.random.random() < 0.1
        self.fencing = True
        count = self.random.randint(1, 5)
        self.nodes = {self.random.choice("nN") + str(i): ONLINE if i == 0 or self.random.random() < 0.5 else self.random.choice(list(NODE_STATES))
                      for i in range(count)}
        self.local = self.random.choice(list(self.nodes))
        self.groups = {}  # kind and members by name
        for i in range(self.random.randint(0, 5)):
            self.groups[f"g{i}"] = self.draw_group(f"g{i}")
        self.unwritten = self.draw_unwritten()
        self.locations = self.draw_locations()

    # Drawing

    def draw_group(self, name):
        kind = self.random.choice(["primitive", "primitive", "group", "group", "group", "clone", "promotable",
                                   CLONED_GROUP])
        count = self.random.randint(1, 4) if kind in ("group", CLONED_GROUP) else 1
        members = [Member(name if kind == "primitive" else f"{name}m{i}") for i in range(count)]
        address = self.random.choice([None, *members])
        if address and kind in ("primitive", "group"):
            address.address = f"192.0.2.{self.random.randint(1, 254)}"
            address.style = self.random.choice([OWN, TEMPLATE, REFERRED, REFERRED_PAIR])
            address.agent = self.random.choice(["IPaddr2", "IPaddr"])
        home = self.random.choice(list(self.nodes))
        if kind == CLONED_GROUP:
            self.draw_group_copies(members)
            return kind, members
        for member in members:
            member.disabled = self.random.random() < 0.1
            member.managed = self.random.random() > 0.1
            member.blocks = self.random.random() < 0.3
            if kind in ("clone", "promotable"):
                self.draw_copies(member, kind)
            elif self.nodes[home] in (ONLINE, UNCLEAN, MAINTENANCE, STANDBY):
                member.where[home] = self.random.choice([STARTED] * 6 + [STOPPED, FAILED, STARTING, STOPPING])
        return kind, members

    def draw_copies(self, member, kind):
        hosts = [node for node, state in self.nodes.items() if state in (ONLINE, STANDBY)]
        for node in hosts:
            member.where[node] = self.random.choice([STARTED, STARTED, STOPPED])
        if kind == "promotable" and hosts and self.random.random() < 0.7:
            for node in self.random.sample(hosts, min(len(hosts), self.random.choice([1, 1, 1, 2]))):
                member.where[node] = "promoted"
        # By numbers of its own, as locations.
        member.promoted_max = random.Random(f"promoted {self.number} {member.id}").choice(["", "1", "2", "2"])

    def draw_group_copies(self, members):
        """On a node all members run, or none, or all but those behind the first."""
        for node, state in self.nodes.items():
            if state not in (ONLINE, STANDBY):
                continue
            running = self.random.choice([len(members), len(members), 0, 1])
            for number, member in enumerate(members):
                member.where[node] = STARTED if number < running else STOPPED

    def draw_locations(self):
        """By numbers of their own: what else is drawn does not change with them."""
        inside = {name: [] if kind == "primitive" else [m.id for m in members] for name, (kind, members) in self.groups.items()}
        templates = [m.id + "-t" for _, members in self.groups.values() for m in members if m.address and m.style == TEMPLATE]
        return Locations(random.Random(f"locations {self.number}"), list(self.nodes), inside, templates)

    def draw_unwritten(self):
        """In one cluster of ten the history of a node is gone, and so all that ran there."""
        unwritten = self.random.choice(list(self.nodes)) if self.random.random() < 0.1 else ""
        for _, members in self.groups.values():
            for member in members:
                member.where.pop(unwritten, None)
        return unwritten

    # The text

    def cib(self):
        options = pair("o", "stonith-enabled", "true" if self.fencing else "false") + pair("o", "cluster-name", f"shape{self.number}") + \
            pair("o", "cluster-infrastructure", "corosync") + \
            pair("o", "symmetric-cluster", "false" if self.opt_in else "true") + \
            pair("o", "maintenance-mode", "true" if self.maintenance else "false")
        return (f'<cib crm_feature_set="3.16.2" validate-with="pacemaker-3.9" admin_epoch="0" epoch="1" num_updates="1" '
                f'have-quorum="{int(self.quorum)}" dc-uuid="1"><configuration><crm_config>'
                f'<cluster_property_set id="o">{options}</cluster_property_set></crm_config>'
                f'<nodes>{"".join(self.node_text(*each) for each in enumerate(self.nodes.items(), 1))}</nodes>'
                f'<resources>{"".join(member.template() for _, members in self.groups.values() for member in members)}'
                f'{"".join(self.group_text(name) for name in self.groups)}</resources>'
                f'<constraints>{self.locations.text}</constraints>{self.locations.tags_text()}'
                f'</configuration><status>'
                f'{"".join(self.status_text(*each) for each in enumerate(self.nodes.items(), 1))}</status></cib>\n')

    def node_text(self, number, node):
        name, state = node
        option = {STANDBY: ("standby", "on"), MAINTENANCE: ("maintenance", "true")}.get(state)
        inside = f'<instance_attributes id="{name}-i">{pair(name, *option)}</instance_attributes>' if option else ""
        return f'<node id="{number}" uname="{name}">{inside}{self.locations.lasting_text(name)}</node>'

    def group_text(self, name):
        kind, members = self.groups[name]
        inside = "".join(member.text() for member in members)
        if kind == "primitive":
            return inside
        if kind == "group":
            return f'<group id="{name}">{inside}</group>'
        if kind == CLONED_GROUP:
            return f'<clone id="{name}"><group id="{name}-each">{inside}</group></clone>'
        most = members[0].promoted_max
        pairs = pair(name, "promotable", "true") + (pair(name, "promoted-max", most) if most else "")
        meta = f'<meta_attributes id="{name}-meta">{pairs}</meta_attributes>'
        return f'<clone id="{name}">{meta if kind == "promotable" else ""}{inside}</clone>'

    def status_text(self, number, node):
        name, state = node
        resources = "".join(self.history(member, name) for _, members in self.groups.values() for member in members)
        history = f'<lrm id="{number}"><lrm_resources>{resources}</lrm_resources></lrm>' if name != self.unwritten else ""
        transient = self.locations.transient_text(number, name)
        return f'<node_state id="{number}" uname="{name}" {NODE_STATES[state][0]}>{transient}{history}</node_state>'

    def history(self, member, node):
        """Where it is not, it has been probed, as long as somebody was there to be asked."""
        if node not in member.where and self.nodes[node] in (PENDING, OFFLINE, UNCLEAN):
            return ""
        kind, provider = member.kind()
        operations = "".join(operation(member.id, number, *each)
                             for number, each in enumerate(OPERATIONS[member.where.get(node, STOPPED)], 5))
        return f'<lrm_resource id="{member.id}" class="ocf" provider="{provider}" type="{kind}">{operations}</lrm_resource>'

    # What is to be seen

    def state(self):
        state = self.nodes[self.local]
        if state in (PENDING, UNCLEAN):
            return "Unknown"
        return "Up" if state != OFFLINE and self.quorum else "Down"

    def node_states(self):
        return {name: NODE_STATES[state][1:] for name, state in self.nodes.items()}

    def is_managed(self, member, node):
        return member.managed and not self.maintenance and self.nodes.get(node) != MAINTENANCE

    def seen(self, name):
        kind, members = self.groups[name]
        if kind == "clone":
            return self.seen_clone(members[0])
        if kind == "promotable":
            return self.seen_promotable(members[0])
        if kind == CLONED_GROUP:
            return self.seen_cloned_group(members)
        seen = self.seen_group(members)
        seen.address = next((member.address for member in members if member.address), "")
        return seen

    def seen_group(self, members):
        active = {(member.id, node) for member in members for node, state in member.where.items() if state != STOPPED}
        places = {node for _, node in active}
        count = [m for m in members if not m.disabled or any(m.id == id for id, _ in active)]
        home = next(iter(places), "")
        lost = home != "" and self.nodes[home] in (UNCLEAN, OFFLINE)
        local = home == self.local
        failed = [m for m in count if FAILED in m.where.values()]
        trouble = "Failed" if lost else "Blocked" if any(m.blocks for m in failed) else "Failed" if failed else ""
        if any(not self.is_managed(m, next((n for i, n in active if i == m.id), "")) for m in count):
            trouble = trouble or "Unmanaged"
        wanted = [m for m in count if not m.disabled]
        is_doubted = self.is_doubted(m for m in wanted if not any(id == m.id for id, _ in active))
        if is_doubted and trouble == "Unmanaged":
            return self.unprobed(is_here=local)
        if trouble:
            return Seen("Unknown", local="Unknown" if local else "Offline", detail=trouble)
        whole = wanted and all(STARTED in m.where.values() for m in wanted)
        if whole:
            return Seen("Online", home, local="Online" if local else "Offline")
        if is_doubted:
            return self.unprobed()
        return Seen("Offline", detail="Partial" if active else "")

    def unprobed(self, is_here=False):
        return Seen("Unknown", local="Unknown" if is_here or self.local == self.unwritten else "Offline", detail="Unprobed")

    def is_doubted(self, missing):
        """Whether one of these may be on the node whose history is gone."""
        return self.nodes.get(self.unwritten) in (ONLINE, STANDBY, MAINTENANCE) and any(True for _ in missing)

    def copies(self, member, states):
        return [node for node, state in member.where.items() if state in states]

    def seen_clone(self, member):
        running = [] if member.disabled else self.copies(member, (STARTED,))
        stopping = self.copies(member, (STARTED,)) if member.disabled else []
        if not member.managed or self.maintenance:
            wanted = not member.disabled or stopping
            here = self.local in running + stopping
            return Seen("Unknown" if wanted else "Offline", local="Unknown" if here else "Offline", everywhere=True,
                        detail="Unmanaged" if wanted else "")
        return Seen("Online" if running else "Offline", local="Online" if self.local in running else "Offline",
                    everywhere=True, detail="Partial" if stopping else "")

    def seen_cloned_group(self, members):
        started = [{node for node, state in member.where.items() if state == STARTED} for member in members]
        whole, some = set.intersection(*started), set.union(*started)
        if self.maintenance:
            return Seen("Unknown", local="Unknown" if self.local in some else "Offline", everywhere=True,
                        detail="Unmanaged")
        return Seen("Online" if whole else "Offline", local="Online" if self.local in whole else "Offline",
                    everywhere=True, detail="Partial" if some and not whole else "")

    def seen_promotable(self, member):
        promoted = self.copies(member, ("promoted",))
        active = promoted + self.copies(member, (STARTED,))
        if not member.managed or self.maintenance:
            wanted = not member.disabled or active
            if not member.disabled and self.is_doubted([member]):
                return self.unprobed(is_here=self.local in active)
            return Seen("Unknown" if wanted else "Offline", local="Unknown" if self.local in active else "Offline",
                        detail="Unmanaged" if wanted else "")
        is_twice = len(promoted) > 1 and member.promoted_max != "2"  # which passes
        if not member.disabled and (not promoted or is_twice) and self.is_doubted([member]):
            return self.unprobed()
        if member.disabled or not promoted:
            return Seen("Offline", detail="" if not active else "Partial" if member.disabled else "Unpromoted")
        if is_twice:
            return Seen("Offline", detail="Partial")
        return Seen("Online", promoted[0] if len(promoted) == 1 else "", local="Online" if self.local in promoted else "Offline",
                    everywhere=len(promoted) > 1)

    # What Pacemaker is asked for

    def quiet(self):
        """The same cluster before anything ran, with nothing but its constraints to tell one node from another. Where
        fencing is on, and nothing is there to fence with, no copy is chosen."""
        shape = copy.deepcopy(self)
        shape.nodes = dict.fromkeys(self.nodes, ONLINE)
        shape.quorum, shape.maintenance, shape.fencing, shape.unwritten = True, False, False, ""
        for _, members in shape.groups.values():
            for member in members:
                member.disabled, member.managed, member.where = False, True, {}
        return shape

    def told(self, name, scores):
        """By nodes, None where the group is not even weighed."""
        kind, members = self.groups[name]
        return {node: scores.on(kind, name, [m.id for m in members], node) for node in self.nodes}

    def untold(self, name, scores):
        """Where no copy would be, and so nobody tells whether one may be promoted."""
        is_promotable = self.groups[name][0] == "promotable"
        return {node for node, score in self.told(name, scores).items() if is_promotable and (score or 0) < 0}

    def group_nodes(self, name, scores):
        """Those with the highest score first, by what Pacemaker told of the quiet cluster."""
        kind, members = self.groups[name]
        told = self.told(name, scores)
        promoted = {node: (scores.promotion(members[0].id, node) if kind == "promotable" else None) or 0 for node in self.nodes}
        allowed = [node for node in self.nodes if told[node] is not None and min(told[node], promoted[node]) > -INFINITY and
                   (not self.opt_in or told[node] >= 0)]
        return sorted(allowed, key=lambda node: -added([told[node], promoted[node]]))
