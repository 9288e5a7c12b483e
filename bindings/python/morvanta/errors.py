"""The one exception type of the package."""
from __future__ import annotations


class Error(Exception):
    """A failure of the library or the service.

    ``code`` is the library's or the service's code (-1 a refused argument or
    a failure made by the library, -2 not initialized, -3 already initialized
    or an invalid configuration, -9 an allocation failure, -999 an internal
    fault; any other value is the service's own) and ``message`` its text.
    """

    def __init__(self, code: int, message: str) -> None:
        super().__init__(f"[{code}] {message}")
        self.code = code
        self.message = message


class ArgumentError(Error, TypeError):
    """An argument refused before anything was sent (code -1)."""

    def __init__(self, message: str) -> None:
        super().__init__(-1, message)
