#!/usr/bin/env python3
"""Prints the simple uppercase ranges of the UTF-16 code units for compound_name.cpp.

Compound files order element names by their simple uppercase form, unit by
unit. Python's str.upper() gives the full mapping; where that is longer than
one character the simple mapping is taken from the Greek iota-subscript rules
below, or there is none. Run with any Python 3 and paste the output into
kUpperRanges (the Unicode version is printed in the first line).
"""
import unicodedata

mapping = {}
for unit in range(0x10000):
    if 0xD800 <= unit <= 0xDFFF:
        continue
    upper = chr(unit).upper()
    if len(upper) == 1 and ord(upper) != unit:
        mapping[unit] = ord(upper)
# Letters with ypogegrammeni: the simple uppercase is the prosgegrammeni form.
for lower, title in [(0x1F80, 0x1F88), (0x1F90, 0x1F98), (0x1FA0, 0x1FA8)]:
    for i in range(8):
        mapping[lower + i] = title + i
mapping.update({0x1FB3: 0x1FBC, 0x1FC3: 0x1FCC, 0x1FF3: 0x1FFC})

units = sorted(mapping)
ranges = []
i = 0
while i < len(units):
    first, delta = units[i], mapping[units[i]] - units[i]
    one = i
    while (one + 1 < len(units) and units[one + 1] == units[one] + 1
           and mapping[units[one + 1]] - units[one + 1] == delta):
        one += 1
    two = i
    while (two + 1 < len(units) and units[two + 1] == units[two] + 2
           and mapping[units[two + 1]] - units[two + 1] == delta):
        two += 1
    if two > one:
        ranges.append((first, units[two], delta, 2))
        i = two + 1
    else:
        ranges.append((first, units[one], delta, 1))
        i = one + 1

print(f"// Unicode {unicodedata.unidata_version}: {len(mapping)} units in {len(ranges)} ranges.")
line = ""
for first, last, delta, step in ranges:
    item = f"{{0x{first:04X}, 0x{last:04X}, {delta}, {step}}}, "
    if len(line) + len(item) > 96:
        print(line.rstrip())
        line = ""
    line += item
print(line.rstrip())
