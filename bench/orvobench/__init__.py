"""The parts of ./dev bench: material, documents, runs of whole programs, and the table."""
