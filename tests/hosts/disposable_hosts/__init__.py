"""Real hosts that live for the length of one test.

A host is a container that boots its own init system over a throw-away layer of
a kept image. This package knows how to build images, boot hosts and serve them
a package repository; it knows nothing of any one package manager. What belongs
to a family of package managers stands in a package of its own (`apt`).
"""
