// Replaced as the board grows.
