#!/usr/bin/python3
"""Prints olefile's view of a compound file, one element per line:

    kind <TAB> path <TAB> size <TAB> created <TAB> modified <TAB> crc32

kind is "storage" or "stream", path joins the names with "/" (UTF-8), the
times are raw FILETIME values and crc32 is zlib's CRC-32 of a stream's bytes
(0 for a storage). Run with Debian's /usr/bin/python3, which sees
python3-olefile. Exit code 3 when olefile is missing.
"""
import sys
import zlib

try:
    import olefile
except ImportError:
    sys.stderr.write("olefile_dump: python3-olefile is not installed (apt-get install python3-olefile)\n")
    sys.exit(3)


def walk(ole, entry, names, out):
    for kid in entry.kids:
        path = names + [kid.name]
        if kid.entry_type == olefile.STGTY_STORAGE:
            out.append(("storage", path, 0, kid.createTime, kid.modifyTime, 0))
            walk(ole, kid, path, out)
        elif kid.entry_type == olefile.STGTY_STREAM:
            data = ole.openstream(path).read()
            out.append(("stream", path, kid.size, kid.createTime, kid.modifyTime, zlib.crc32(data)))


def main():
    ole = olefile.OleFileIO(sys.argv[1])
    out = []
    walk(ole, ole.root, [], out)
    sys.stdout.reconfigure(encoding="utf-8", errors="surrogatepass")
    for kind, path, size, created, modified, crc in out:
        print(f"{kind}\t{'/'.join(path)}\t{size}\t{created}\t{modified}\t{crc}")


main()
