#!/usr/bin/env python3
"""layout.py DUMP HEADER: lists what programs have compiled in, one fact a line: place and type of each field of a record, the size of
the records that cannot grow, and the constants of the header. A record that begins with its size may grow at its end.

DUMP is XML from abidw, with HEADER as selvane.h. Places and sizes are in bits.
"""
import re
import sys
import xml.etree.ElementTree as xml


def type_name(types, identity):
    node = types[identity]
    if node.tag == "pointer-type-def":
        return type_name(types, node.get("type-id")) + "*"
    if node.tag == "qualified-type-def":
        return "const " + type_name(types, node.get("type-id"))
    if node.tag == "array-type-def":
        lengths = "".join(f"[{range_.get('length')}]" for range_ in node.findall("subrange"))
        return type_name(types, node.get("type-id")) + lengths
    if node.tag == "typedef-decl" and not node.get("name").startswith("selvane_"):
        return type_name(types, node.get("type-id"))
    return node.get("name") or node.tag


def record_facts(types, record):
    name = record.get("name")
    fields = [(member.get("layout-offset-in-bits"), member.find("var-decl")) for member in record.findall("data-member")]
    for place, field in fields:
        yield f"{name}.{field.get('name')} at {place} is {type_name(types, field.get('type-id'))}"
    if fields and fields[0][1].get("name") != "struct_size":
        yield f"{name} has {record.get('size-in-bits')} bits"


def constant_facts(header):
    for name, value in re.findall(r"^(?: +|#define )(SELVANE_[A-Z0-9_]+)(?: =)? (\d+)\b", header, re.MULTILINE):
        if not name.startswith("SELVANE_VERSION") and name != "SELVANE_STAGES":
            yield f"{name} is {value}"


def main():
    dump = xml.parse(sys.argv[1]).getroot()
    types = {node.get("id"): node for node in dump.iter() if node.get("id")}
    facts = set(constant_facts(open(sys.argv[2], encoding="utf-8").read()))
    for record in dump.iter("class-decl"):
        facts.update(record_facts(types, record))
    print("\n".join(sorted(facts)))


main()
