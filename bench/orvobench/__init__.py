"""What ./dev bench measures with: material, documents, runs of whole programs, and the table."""
