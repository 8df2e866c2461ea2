"""Images and hosts for a person at a terminal.

    python3 -m disposable_hosts images          which images there are
    python3 -m disposable_hosts build [IMAGE…]  builds those that are missing (all of them without a name)
    python3 -m disposable_hosts shell IMAGE     boots a host and gives you a shell in it; leaving it ends the host
"""

import argparse
import sys

from disposable_hosts import image, machine
from disposable_hosts.catalog import RECIPES
from disposable_hosts.host import Host


def main():
    parser = argparse.ArgumentParser(
        prog="python3 -m disposable_hosts", description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter
    )
    commands = parser.add_subparsers(dest="command", required=True)
    commands.add_parser("images")
    build = commands.add_parser("build")
    build.add_argument("images", nargs="*", type=_known_image, metavar="IMAGE")
    shell = commands.add_parser("shell")
    shell.add_argument("image", choices=RECIPES)
    arguments = parser.parse_args()

    reason = machine.reason_it_cannot_carry_hosts()
    if reason:
        sys.exit(reason)
    if arguments.command == "images":
        _list_images()
    elif arguments.command == "build":
        for name in arguments.images or RECIPES:
            image.provide(RECIPES[name])
    else:
        _open_shell(arguments.image)


def _known_image(name):
    if name not in RECIPES:
        raise argparse.ArgumentTypeError(f"there is no image {name}; there are {', '.join(RECIPES)}")
    return name


def _list_images():
    for recipe in RECIPES.values():
        print(f"{recipe.name:20} {'built' if image.is_built(recipe) else 'not built yet'}")


def _open_shell(name):
    with Host(image.provide(RECIPES[name])) as host:
        print(f"This is a disposable {name} host; its files from outside: {host.root}. Leave the shell to end it.")
        host.interactive_shell()


if __name__ == "__main__":
    main()
