// Cargo wants a source file.
