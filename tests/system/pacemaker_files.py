"""What configures a node of a real cluster: the nodes of Corosync, and a CIB with two groups, each of a dummy and an
address."""
from node import SLOWNESS

NAMES = ("alpha", "beta", "gamma")
ADDRESSES = {"web": "10.98.0.101", "database": "10.98.0.102"}

COROSYNC = """\
totem {{
    version: 2
    cluster_name: harbour
    transport: knet
    token: {token_ms}
    token_coefficient: 0
}}
system {{
    move_to_root_cgroup: no
    allow_knet_handle_fallback: yes
}}
quorum {{
    provider: corosync_votequorum
    two_node: {two_node}
    wait_for_all: 0
}}
nodelist {{
{nodes}}}
logging {{
    to_syslog: no
    to_logfile: yes
    logfile: {folder}/corosync.log
    timestamp: hires
}}
"""
COROSYNC_NODE = """\
    node {{
        nodeid: {number}
        name: {name}
        ring0_addr: {address}
    }}
"""
OPTIONS = {"stonith-enabled": "false", "dc-deadtime": "2s", "no-quorum-policy": "stop"}
CIB = """\
<cib crm_feature_set="3.16.1" validate-with="pacemaker-3.9" admin_epoch="0" epoch="1" num_updates="0">
<configuration>
<crm_config><cluster_property_set id="options">{options}</cluster_property_set></crm_config>
<nodes/>
<resources>{groups}</resources>
<constraints/>
<rsc_defaults><meta_attributes id="defaults">
<nvpair id="threshold" name="migration-threshold" value="1"/><nvpair id="stick" name="resource-stickiness" value="1"/>
</meta_attributes></rsc_defaults>
</configuration>
<status/>
</cib>
"""
CIB_GROUP = """\
<group id="{name}">
<primitive id="{name}-job" class="ocf" provider="pacemaker" type="Dummy">
<operations><op id="{name}-watch" name="monitor" interval="1s"/></operations>
</primitive>
<primitive id="{name}-address" class="ocf" provider="heartbeat" type="IPaddr2"><instance_attributes id="{name}-values">
<nvpair id="{name}-ip" name="ip" value="{address}"/><nvpair id="{name}-mask" name="cidr_netmask" value="24"/>
</instance_attributes></primitive>
</group>
"""


def address_of(name):
    return f"10.98.0.{NAMES.index(name) + 1}"


def cib():
    options = "".join(f'<nvpair id="option-{name}" name="{name}" value="{value}"/>' for name, value in OPTIONS.items())
    groups = "".join(CIB_GROUP.format(name=name, address=address) for name, address in ADDRESSES.items())
    return CIB.format(options=options, groups=groups)


def corosync(names, two_node, folder):
    nodes = "".join(COROSYNC_NODE.format(number=NAMES.index(name) + 1, name=name, address=address_of(name))
                    for name in names)
    return COROSYNC.format(token_ms=1000 * SLOWNESS, two_node=int(two_node), nodes=nodes, folder=folder)


def files(names, two_node, folder):
    """By their names; folder is where its daemons log."""
    hosts = "".join(f"{address_of(name)} {name}\n" for name in names)
    return {"etc/corosync/corosync.conf": corosync(names, two_node, folder),
            "etc/hosts": f"127.0.0.1 localhost\n{hosts}", "cib.xml": cib()}
