"""Makes from the table of entry points everything that follows from it. src/api/README.md tells what a row may say."""
