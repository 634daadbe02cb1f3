#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Encodes the values of wire.json and compares the results with its encodings. This encoder is independent of the
library: it uses only the IDL files.

    encode.py IDL_DIR [WIRE_JSON]             compares; exit code 1 and one line for each difference
    encode.py --write IDL_DIR [WIRE_JSON]     writes the encodings and key hashes of all values into the file

Plain CDR and parameter lists of CDR version 1 (DDS-XTypes 1.3, 7.4.1), key hashes (DDSI-RTPS 2.3, 9.6.3.8). The
encodings in "read_too" and "malformed" were written by hand.
"""
import hashlib
import json
import pathlib
import re
import struct
import sys

NUMBERS = {"short": "h", "unsigned short": "H", "long": "i", "unsigned long": "I", "unsigned long long": "Q",
           "float": "f", "octet": "B", "boolean": "B"}
TOKENS = re.compile(r"@\w+(?:\(\d+\))?|[\w:]+|\"[^\"]*\"|\S")


def parse(folder):
    """Returns the types of all IDL files by qualified name: (kind, content)."""
    types = {}
    for file in sorted(pathlib.Path(folder).glob("*/*.idl")):
        tokens = TOKENS.findall(re.sub(r"//.*|#.*", "", file.read_text()))
        Parser(tokens, types).module()
    return types


class Parser:
    def __init__(self, tokens, types):
        self.tokens, self.types, self.position = tokens, types, 0

    def next(self, expected=None):
        token = self.tokens[self.position]
        if expected is not None and token != expected:
            raise SyntaxError(f"{token!r} where {expected!r} belongs")
        self.position += 1
        return token

    def accept(self, token):
        found = self.tokens[self.position] == token
        self.position += found
        return found

    def module(self):
        self.next("module")
        self.name = self.next()
        self.next("{")
        mutable = False
        while not self.accept("}"):
            token = self.next()
            if token in ("@final", "@mutable"):
                mutable = token == "@mutable"
            elif token == "const":
                while self.next() != ";":
                    pass
            elif token == "typedef":
                kind = self.type()
                self.add(self.next(), "typedef", kind)
                self.next(";")
            elif token == "enum":
                name = self.next()
                self.next("{")
                names = [self.next().lstrip("_")]
                while self.accept(","):
                    names.append(self.next().lstrip("_"))
                self.next("}")
                self.next(";")
                self.add(name, "enum", names)
            elif token == "union":
                self.union(self.next())
            else:
                self.structure(self.next(), mutable)

    def add(self, name, kind, content):
        self.types[f"{self.name}::{name}"] = (kind, content)

    def union(self, name):
        self.next("switch")
        self.next("(")
        discriminator = self.type()
        self.next(")")
        self.next("{")
        branches = {}
        while not self.accept("}"):
            labels = []
            while self.accept("case"):
                labels.append(self.next().rstrip(":").lstrip("_"))
                self.accept(":")
            branch = (self.type(), self.next().lstrip("_"))
            self.next(";")
            branches.update((label, branch) for label in labels)
        self.next(";")
        self.add(name, "union", (discriminator, branches))

    def structure(self, name, mutable):
        self.next("{")
        members = []
        while not self.accept("}"):
            annotations = []
            while self.tokens[self.position].startswith("@"):
                annotations.append(self.next())
            kind = self.type()
            ids = [int(a[4:-1]) for a in annotations if a.startswith("@id(")]
            members.append((self.next().lstrip("_"), kind, ids[0] if ids else len(members), "@key" in annotations,
                            "@optional" in annotations))
            self.next(";")
        self.next(";")
        self.add(name, "structure", (members, mutable))

    def type(self):
        token = self.next()
        if token in ("string", "sequence"):
            self.next("<")
            element = self.type() if token == "sequence" else None
            bounded = token == "string" or self.accept(",")
            if bounded:
                self.next()
            self.next(">")
            return (token, element)
        if token == "unsigned":
            token += " " + self.next()
        if token.endswith("long") and self.accept("long"):
            token += " long"
        if token in NUMBERS:
            return ("number", token)
        return ("named", token if "::" in token else f"{self.name}::{token}")


class Encoder:
    def __init__(self, types, big_endian):
        self.types, self.order, self.octets = types, ">" if big_endian else "<", bytearray()

    def number(self, code, value):
        packed = struct.pack(self.order + code, value)
        self.align(len(packed))
        self.octets += packed

    def align(self, size):
        self.octets += bytes(-len(self.octets) % size)

    def put(self, kind, value, key_only=False):
        shape, content = kind
        if shape == "named":
            shape, content = self.types[content]
            if shape == "typedef":
                return self.put(content, value)
        if shape == "number":
            self.number(NUMBERS[content], float(value) if content == "float" else int(value))
        elif shape == "string":
            octets = value.encode() + b"\0"
            self.number("I", len(octets))
            self.octets += octets
        elif shape == "sequence":
            elements = bytes.fromhex(value) if isinstance(value, str) else value
            self.number("I", len(elements))
            for element in elements:
                self.put(content, element)
        elif shape == "enum":
            self.number("I", content.index(value) if isinstance(value, str) else value)
        elif shape == "union":
            self.put(content[0], value["_d"])
            branch, name = content[1][value["_d"]]
            self.put(branch, value["_u"][name])
        else:
            self.structure(*content, value, key_only)

    def structure(self, members, mutable, value, key_only):
        for name, kind, number, key, optional in members:
            if key_only and not key:
                continue
            if mutable or optional:
                self.parameter(number, kind, value[name])
            else:
                self.put(kind, value[name])
        if mutable and not key_only:
            self.align(4)
            self.number("H", 0x7F02)
            self.number("H", 0)

    def parameter(self, number, kind, value):
        """Writes a short header and the member, aligned as at the start of a buffer; the length is padded to 4."""
        self.align(4)
        inner = Encoder(self.types, self.order == ">")
        if value is not None:
            inner.put(kind, value)
            inner.align(4)
        self.number("H", number)
        self.number("H", len(inner.octets))
        self.octets += inner.octets


def encodings(types, name, value):
    kind = ("named", name)
    shape, content = types[name]
    mutable = shape == "structure" and content[1]
    write = {}
    for order, big in (("le", False), ("be", True)):
        encoder = Encoder(types, big)
        encoder.put(kind, value)
        encapsulation = (2 if mutable else 0) + (not big)
        write[order] = bytes([0, encapsulation, 0, 0]).hex() + encoder.octets.hex()
    result = {"write": write}
    if shape == "structure" and any(member[3] for member in content[0]):
        encoder = Encoder(types, True)
        encoder.put(kind, value, key_only=True)
        result["key_hash"] = hashlib.md5(encoder.octets).hexdigest()
    return result


def main():
    arguments = sys.argv[1:]
    write = arguments[:1] == ["--write"]
    del arguments[:write]
    if not 1 <= len(arguments) <= 2:
        sys.exit(__doc__)
    file = pathlib.Path(arguments[1] if len(arguments) == 2 else pathlib.Path(__file__).with_name("wire.json"))
    types, document, differences = parse(arguments[0]), json.loads(file.read_text()), 0
    for vector in document["vectors"]:
        found = encodings(types, vector["type"], vector["value"])
        for part in ("write", "key_hash"):
            if found.get(part) != vector.get(part):
                differences += 1
                print(f"{vector['id']}: {part} is {vector.get(part)}, encoded {found.get(part)}")
        if write:
            vector.update(found)
    if write:
        file.write_text(json.dumps(document, indent=0) + "\n")
    elif not document["vectors"] or differences:
        sys.exit(1)


if __name__ == "__main__":
    main()
