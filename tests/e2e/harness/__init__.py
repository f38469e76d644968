"""A desktop of its own for one test or one demonstration: display, buses, secret store, panel, backend.

Every part starts in milliseconds, lives in one private folder, shares nothing with the user's session
or with another such desktop, and ends with the object that started it.
"""
