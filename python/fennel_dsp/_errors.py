"""FennelError: a negative status code returned by the library."""
from . import _codes

# Statuses that say an argument was refused; the others (memory, the
# transform engine) are failures of the computation.
_RUNTIME = {_codes.STATUS_OUT_OF_MEMORY, _codes.STATUS_DFTI_COMPUTE_FAILED,
            _codes.STATUS_DFTI_SETUP_FAILED, _codes.STATUS_DFTI_FREE_FAILED}


class FennelError(RuntimeError):
    """A negative status code returned by the library.

    Attributes
    ----------
    status : int
        The library's status code (a ``STATUS_*`` constant of the C header).
    name : str
        The constant's name, for example ``'STATUS_EMPTY_ARRAY'``.
    function : str
        The Python function that was called.
    symbol : str
        The library function that returned the status.

    Statuses that refuse an argument raise the subclass `FennelValueError`,
    which is also a ``ValueError``; memory and transform-engine failures raise
    `FennelError` itself (a ``RuntimeError``).
    """

    def __new__(cls, status, symbol, function=None):
        if cls is FennelError and status not in _RUNTIME:
            cls = FennelValueError
        return super().__new__(cls, status, symbol, function)

    def __init__(self, status, symbol, function=None):
        self.status = status
        self.name = _codes.STATUS_NAMES.get(status, "unknown status")
        self.symbol = symbol
        self.function = function or symbol
        if function:
            message = f"{function}: {self.name} ({status}) from the library's {symbol}"
        else:
            message = f"{symbol} returned {status} ({self.name})"
        super().__init__(message)

    def __reduce__(self):
        return (FennelError, (self.status, self.symbol, self.function))


class FennelValueError(FennelError, ValueError):
    """A status that refuses an argument (empty array, bad selector, ...)."""


def check(status, symbol, function=None):
    """Raises FennelError for a negative status; returns the status otherwise."""
    if status < 0:
        raise FennelError(status, symbol, function)
    return status
