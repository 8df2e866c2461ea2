"""Hosts of the DNF family: their images and a signed repository for them."""
