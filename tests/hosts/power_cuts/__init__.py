"""Power cuts: a virtual machine's disk is cut off at a moment of its writes, and the host must come into order again."""
