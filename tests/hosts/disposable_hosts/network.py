"""Ways in which a host's network can fail, beyond what its server does."""

import contextlib

# An address for documentation: nobody has it.
NOBODY, OWN_ADDRESS = "192.0.2.2", "192.0.2.1"


@contextlib.contextmanager
def packets_dropped(host, name):
    """While the context lasts, what the host sends to `name` vanishes without an answer."""
    # The other end of the cable is there and takes everything, and belongs to nobody.
    host.run(
        "ip link add name nowhere type veth peer name nowhere-end && ip link set nowhere-end up && ip link set nowhere up"
        f" && ip address add {OWN_ADDRESS}/30 dev nowhere"
        f" && ip neighbour add {NOBODY} lladdr 02:00:00:00:00:02 dev nowhere nud permanent"
    )
    known_names = host.read("/etc/hosts")
    host.write("/etc/hosts", f"{NOBODY} {name}\n{known_names.replace(f'127.0.0.1 {name}', '')}")
    try:
        yield
    finally:
        host.write("/etc/hosts", known_names)
        host.run("ip link delete nowhere")
