"""What package-minder does, shown step by step on a disposable host."""
