"""Situations of hosts, drawn at random: what the verdict predicts is compared with what the host's own services do."""
