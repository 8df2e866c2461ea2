# What dnf-automatic would do with one package, asked of DNF's own library in the way dnf-automatic asks it.
#
#     python3 ask_dnf_automatic REQUEST
#
# REQUEST is a JSON object: "package", "repository" (its id), "address" (of the repository, for a host on which it
# is not registered yet), "directory" (private, for all that DNF writes), "arguments" (of dnf-automatic), "online"
# (ask the repository itself). The answer is a JSON object on standard output: what is installed and offered, and
# the obstacles as facts; package-minder makes its words of them.
#
# DNF reads its caches through links in the private directory and writes beside them, so nothing of the host's
# changes. It runs under the interpreter of the host's DNF, Python 3.6 and later.

import json
import os
import sys

from package_look import Look


def main():
    with open(sys.argv[1], encoding="utf-8") as stream:
        request = json.load(stream)
    # Plugins print; the answer is alone on the real standard output.
    output = os.fdopen(os.dup(1), "w")
    os.dup2(2, 1)
    look = Look(request)
    try:
        look.run()
    except (Exception, SystemExit) as problem:
        look.found("failed", words="%s: %s" % (type(problem).__name__, problem))
    json.dump(look.answer, output)
    output.write("\n")


if __name__ == "__main__":
    main()
