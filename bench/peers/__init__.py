"""What a user might take instead, and the limits of the machine, measured by the same hand."""
