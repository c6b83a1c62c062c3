#!/usr/bin/env python3
"""Generates tests/strings/fixtures/codeset_fixtures.txt: expected results of
the UTF and code page conversions, computed by python3's codecs so that the
tests compare the library with an outside reference.

  UTF-8 -> UTF-16   'utf-8' with 'surrogatepass' (lone surrogates encoded in
                    three bytes are legal, as in the library's lenient mode);
                    for illegal input the offset of the first bad sequence
  UTF-16 -> UTF-8   'utf-16-le' and 'utf-8', both with 'surrogatepass'
  cp1252, cp932     decode with 'replace' (U+FFFD shown as "?"), encode with
                    'replace' ("?" per code point); the five C1 bytes that the
                    platform's 1252 table defines and python does not are
                    added as in scripts/gen_codepages.py

The input cases are fixed hand-picked ones plus seeded random ones, so the
output is stable. Usage: gen_codepage_fixtures.py > tests/strings/fixtures/codeset_fixtures.txt
"""

import random

CP1252_EXTRAS = {0x81: 0x0081, 0x8D: 0x008D, 0x8F: 0x008F, 0x90: 0x0090, 0x9D: 0x009D}


def hexs(data):
    return "".join(f"{b:02X}" for b in data)


def units_hex(units):
    return "".join(f"{u:04X}" for u in units)


def utf16_units(text):
    data = text.encode("utf-16-le", "surrogatepass")
    return [data[i] | (data[i + 1] << 8) for i in range(0, len(data), 2)]


def utf8_decode_case(data):
    try:
        text = data.decode("utf-8", "surrogatepass")
        return (hexs(data), units_hex(utf16_units(text)), True, len(data))
    except UnicodeDecodeError as e:
        prefix = data[:e.start].decode("utf-8", "surrogatepass")
        return (hexs(data), units_hex(utf16_units(prefix)), False, e.start)


def random_code_point(rng):
    kind = rng.randrange(6)
    if kind == 0:
        return rng.randrange(0x20, 0x80)
    if kind == 1:
        return rng.randrange(0x80, 0x800)
    if kind == 2:
        return rng.randrange(0x800, 0x10000)
    if kind == 3:
        return rng.randrange(0xD800, 0xE000)
    if kind == 4:
        return rng.randrange(0x10000, 0x110000)
    return rng.choice([0x7F, 0x80, 0x7FF, 0x800, 0xFFFF, 0x10000, 0x10FFFF, 0xFFFD])


def utf8_cases(rng):
    fixed = [b"", b"A", b"\xC0", b"a\xC0b", b"\xC1\xBF", b"\xC2\x80", b"\xDF\xBF", b"\xE0\x80\x80",
             b"\xE0\x9F\xBF", b"\xE0\xA0\x80", b"\xED\xA0\x80", b"\xED\xBF\xBF", b"\xED\xA0\x80\xED\xB0\x80",
             b"\xEF\xBF\xBF", b"\xF0\x8F\xBF\xBF", b"\xF0\x90\x80\x80", b"\xF0\x9F\x98\x80",
             b"\xF4\x8F\xBF\xBF", b"\xF4\x90\x80\x80", b"\xF5\x80\x80\x80", b"\xF8\x88\x80\x80\x80",
             b"\xFC\x84\x80\x80\x80\x80", b"\xFE", b"\xFF", b"\x80", b"\xBF", b"\xE3\x81", b"ab\xE3\x81",
             b"\xF0\x9F\x98", b"\xE3\x41\x42", b"\xC3\xA9\xC3", b"x\xE6\x97\xA5\xE6\x9C\xAC"]
    cases = [utf8_decode_case(d) for d in fixed]
    for _ in range(300):
        text = "".join(chr(random_code_point(rng)) for _ in range(rng.randrange(1, 12)))
        data = bytearray(text.encode("utf-8", "surrogatepass"))
        action = rng.randrange(4)
        if action == 1 and data:
            data[rng.randrange(len(data))] = rng.randrange(256)
        elif action == 2 and data:
            del data[rng.randrange(len(data)):]
        elif action == 3:
            data.insert(rng.randrange(len(data) + 1), rng.randrange(0x80, 0x100))
        if 0 in data:
            data = data.replace(b"\x00", b"\x01")
        cases.append(utf8_decode_case(bytes(data)))
    return cases


def utf16_cases(rng):
    fixed = [[], [0x41], [0xD800], [0xDC00], [0xD83D, 0xDE00], [0xDE00, 0xD83D], [0xD800, 0x41],
             [0x41, 0xD800], [0xDBFF, 0xDFFF], [0x7F, 0x80, 0x7FF, 0x800, 0xFFFF], [0xD800, 0xD800, 0xDC00]]
    cases = []
    for units in fixed + [[rng.choice([rng.randrange(1, 0x80), rng.randrange(0x80, 0x800),
                                       rng.randrange(0x800, 0x10000), rng.randrange(0xD800, 0xE000)])
                           for _ in range(rng.randrange(1, 10))] for _ in range(200)]:
        data = b"".join(u.to_bytes(2, "little") for u in units)
        text = data.decode("utf-16-le", "surrogatepass")
        utf8 = text.encode("utf-8", "surrogatepass")
        unpaired = 1 + sum(1 if u < 0x80 else 2 if u < 0x800 else 3 for u in units)
        cases.append((units_hex(units), hexs(utf8), unpaired))
    return cases


def cp_decode(data, codepage):
    if codepage == 1252:
        return "".join(chr(CP1252_EXTRAS[b]) if b in CP1252_EXTRAS else bytes([b]).decode("cp1252") for b in data)
    return data.decode("cp932", "replace").replace("\ufffd", "?")


def cp_encode(text, codepage):
    if codepage == 1252:
        inverse = {v: k for k, v in CP1252_EXTRAS.items()}
        return b"".join(bytes([inverse[ord(c)]]) if ord(c) in inverse else c.encode("cp1252", "replace")
                        for c in text)
    return text.encode("cp932", "replace")


def codepage_cases(rng):
    decode = [(1252, bytes(range(1, 256)))]
    decode += [(932, d) for d in [b"\x82\xA0\x82\xA2", b"\x87\x40", b"\xB1\xB2", b"abc\x81", b"\x81\x20",
                                  b"\x85\x40", b"\x80\xA0\xFD\xFE\xFF", b"\xEE\xEF\xFA\x40", b"\x5C\x7E"]]
    leads = [0x81, 0x82, 0x83, 0x88, 0x89, 0x98, 0x9F, 0xE0, 0xEA, 0xED, 0xEE, 0xFA, 0xFC]
    for _ in range(200):
        data = bytes(rng.choice([rng.randrange(1, 256), rng.choice(leads), rng.randrange(0x40, 0xFD)])
                     for _ in range(rng.randrange(1, 10)))
        decode.append((932, data))
    encode_texts = ["abc", "\u00e9\u20ac\u0081\u0080\u0100", "\u3042\u3044\u65e5\u672c",
                    "\uff71\u2460\u2252", "\U0001F600x", "\u00a5\u203e", "\u4e02\u0100\u20ac"]
    samples = ([chr(c) for c in range(0xA0, 0x180)] + [chr(c) for c in range(0x2000, 0x2300, 7)]
               + [chr(c) for c in range(0x3000, 0x3100, 3)] + [chr(c) for c in range(0x4E00, 0x9FA0, 97)]
               + [chr(c) for c in range(0xFF00, 0xFFF0, 5)])
    for _ in range(60):
        encode_texts.append("".join(rng.choice(samples) for _ in range(rng.randrange(1, 8))))
    encode = [(cp, t) for t in encode_texts for cp in (1252, 932)]
    return ([(cp, hexs(d), hexs(cp_decode(d, cp).encode("utf-8"))) for cp, d in decode],
            [(cp, hexs(t.encode("utf-8")), hexs(cp_encode(t, cp))) for cp, t in encode])


def field(text):
    return text if text else "-"


def main():
    rng = random.Random(20240601)
    print("# Generated by scripts/gen_codepage_fixtures.py from python3's codecs. Do not edit.")
    print("# utf8   <bytes> <UTF-16 units of the legal prefix> <legal 0/1> <offset of the first illegal sequence>")
    print("# utf16  <units> <UTF-8 bytes> <bytes when each unit is taken alone, terminator included>")
    print("# decode <code page> <bytes> <text as UTF-8>")
    print("# encode <code page> <bytes> <text as UTF-8>")
    print("# Every field is hex; - stands for nothing.")
    for data, units, legal, offset in utf8_cases(rng):
        print(f"utf8 {field(data)} {field(units)} {1 if legal else 0} {offset}")
    for units, utf8, unpaired in utf16_cases(rng):
        print(f"utf16 {field(units)} {field(utf8)} {unpaired}")
    decode, encode = codepage_cases(rng)
    for cp, data, text in decode:
        print(f"decode {cp} {field(data)} {field(text)}")
    for cp, text, data in encode:
        print(f"encode {cp} {field(data)} {field(text)}")


if __name__ == "__main__":
    main()
