"""Faults and kills at the program's own system calls, one at a time, on a real host."""
