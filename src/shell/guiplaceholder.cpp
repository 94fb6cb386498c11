// Replaced as the windows grow.
