"""The service for a long time, while others change its files, its clock and its time to work."""
