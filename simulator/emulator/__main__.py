import sys

from .commandline import main

sys.exit(main())
