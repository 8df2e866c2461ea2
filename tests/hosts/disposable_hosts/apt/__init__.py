"""Hosts of the APT family: their images and a signed repository for them."""
