"""Reads the running app through AT-SPI, page by page, as a screen reader would, and checks:
every interactive element has a name; the sidebar is a list of pages with the shown page
selected (and only it); the Duplicates folder toggles are check boxes with their state; two
rows of one name have check boxes of different names; the status line is a status bar. Prints
the elements by role and the unnamed ones. Exits 1 on any failure."""

import collections
import subprocess
import sys
import time

import pyatspi

gui, root, home = sys.argv[1:4]

INTERACTIVE = {
    pyatspi.ROLE_PUSH_BUTTON, pyatspi.ROLE_CHECK_BOX, pyatspi.ROLE_TOGGLE_BUTTON,
    pyatspi.ROLE_RADIO_BUTTON, pyatspi.ROLE_MENU_ITEM, pyatspi.ROLE_MENU, pyatspi.ROLE_LIST_ITEM,
    pyatspi.ROLE_ENTRY, pyatspi.ROLE_PASSWORD_TEXT, pyatspi.ROLE_COMBO_BOX, pyatspi.ROLE_SLIDER,
    pyatspi.ROLE_SPIN_BUTTON, pyatspi.ROLE_PAGE_TAB, pyatspi.ROLE_LINK, pyatspi.ROLE_LIST,
    pyatspi.ROLE_PROGRESS_BAR,
}

failures = []


def fail(message):
    failures.append(message)
    print("FAIL:", message, flush=True)


def wait_for(predicate, seconds=60.0):
    deadline = time.monotonic() + seconds
    while time.monotonic() < deadline:
        try:
            value = predicate()
        except Exception:  # the tree changes under us while the app builds it
            value = None
        if value:
            return value
        time.sleep(0.2)
    return None


def walk(node, depth=0):
    if node is None or depth > 60:
        return
    yield node
    for i in range(node.childCount):
        try:
            child = node.getChildAtIndex(i)
        except Exception:
            continue
        yield from walk(child, depth + 1)


def state(node, which):
    return node.getState().contains(which)


def interactive(node):
    role = node.getRole()
    if role in INTERACTIVE:
        return True
    return role == pyatspi.ROLE_TEXT and state(node, pyatspi.STATE_EDITABLE)


def find_app():
    desktop = pyatspi.Registry.getDesktop(0)
    for i in range(desktop.childCount):
        app = desktop.getChildAtIndex(i)
        if app is not None and app.name in ("dustwhale-gui", "Dustwhale"):
            return app
    return None


def find(app, role, name=None):
    return [n for n in walk(app) if n.getRole() == role and (name is None or n.name == name)]


def click(node):
    """A real click at the middle of the element, where AT-SPI says it is on screen."""
    box = node.queryComponent().getExtents(pyatspi.DESKTOP_COORDS)
    subprocess.run(["xdotool", "mousemove", str(box.x + box.width // 2),
                    str(box.y + box.height // 2), "click", "1"], check=True)


def press(node):
    action = node.queryAction()
    names = [action.getName(i) for i in range(action.nActions)]
    for wanted in ("Press", "press", "click", "Toggle", "toggle", "activate"):
        if wanted in names:
            action.doAction(names.index(wanted))
            return
    fail(f"{node.getRoleName()} {node.name!r} offers no way to press it ({names})")


process = subprocess.Popen([gui, "--root", root, "--home", home, "--layout", "macos"])
try:
    app = wait_for(find_app)
    if not app:
        print("FAIL: the app never appeared on the accessibility bus", flush=True)
        sys.exit(1)
    TITLES = ["Overview", "Caches", "App leftovers", "Duplicates", "Large files", "Space Map",
              "Uninstaller", "Recently Cleared"]
    wait_for(lambda: [n for n in walk(app) if n.name == "Recently Cleared"], 60)
    time.sleep(2)  # the first scan
    sidebar = next(iter(find(app, pyatspi.ROLE_LIST, "Pages")), None)
    if sidebar is not None:
        pages = [n for n in walk(sidebar) if n.getRole() == pyatspi.ROLE_LIST_ITEM]
    else:
        # Still measure what there is: the pages as whatever the sidebar shows them as.
        fail("no list named Pages (the sidebar)")
        pages = [next(n for n in walk(app) if n.name == t and interactive(n)) for t in TITLES]
    titles = [p.name for p in pages]
    print("sidebar pages:", titles, flush=True)
    if len(pages) != 8:
        fail(f"the sidebar lists {len(pages)} pages, not 8")

    roles = collections.Counter()
    unnamed = collections.Counter()
    seen = set()
    for title in titles:
        item = next(p for p in pages if p.name == title)
        press(item)
        if not wait_for(lambda: state(item, pyatspi.STATE_SELECTED), 10):
            fail(f"the sidebar does not show {title} as selected after choosing it")
        selected = [p.name for p in pages if state(p, pyatspi.STATE_SELECTED)]
        if selected != [title]:
            fail(f"on {title} the sidebar's selected pages are {selected}")
        time.sleep(0.4)
        if title == "Duplicates":
            toggles = [n for n in walk(app) if n.name in ("Downloads", "Movies", "Music", "Pictures")
                       and n.getRole() in (pyatspi.ROLE_CHECK_BOX, pyatspi.ROLE_PUSH_BUTTON,
                                           pyatspi.ROLE_TOGGLE_BUTTON)]
            if len(toggles) != 4:
                fail(f"found {len(toggles)} folder toggles on Duplicates, not 4")
            for toggle in toggles:
                if toggle.getRole() != pyatspi.ROLE_CHECK_BOX:
                    fail(f"the folder toggle {toggle.name} is a {toggle.getRoleName()}, not a check box")
            checked = [t.name for t in toggles if state(t, pyatspi.STATE_CHECKED)]
            print("folder toggles checked:", checked, flush=True)
            if not checked:
                fail("no folder toggle is checked, though the search starts with folders chosen")
            # A screen reader's press turns a toggle off and on again, and its state follows.
            music = next((t for t in toggles if t.name == "Music"), None)
            if music is not None:
                before = state(music, pyatspi.STATE_CHECKED)
                press(music)
                if not wait_for(lambda: state(music, pyatspi.STATE_CHECKED) != before, 5):
                    fail("pressing the Music toggle did not change its checked state")
                press(music)
                if not wait_for(lambda: state(music, pyatspi.STATE_CHECKED) == before, 5):
                    fail("pressing the Music toggle again did not restore its state")
            find_button = next((n for n in find(app, pyatspi.ROLE_PUSH_BUTTON)
                                if n.name.startswith("Find")), None)
            if find_button is None:
                fail("no Find duplicates button")
            else:
                press(find_button)
                boxes = wait_for(lambda: [n for n in find(app, pyatspi.ROLE_CHECK_BOX)
                                          if n.name.startswith("Select clip.mov")] or None, 60)
                names = [b.name for b in boxes or []]
                print("copies' check boxes:", names, flush=True)
                if len(names) < 2:
                    fail("the duplicate search listed fewer than two selectable copies")
                if len(set(names)) != len(names):
                    fail(f"two check boxes share a name: {names}")
        for node in walk(app):
            try:
                key = (node.getRole(), node.name, node.getIndexInParent(), node.parent.name if node.parent else "")
            except Exception:
                continue
            # What is on screen: a screen reader never meets the items of a hidden page.
            if not interactive(node) or not state(node, pyatspi.STATE_VISIBLE):
                continue
            if key in seen:
                continue
            seen.add(key)
            roles[node.getRoleName()] += 1
            if not node.name.strip():
                unnamed[node.getRoleName()] += 1
                fail(f"an unnamed {node.getRoleName()} on {title} (parent: "
                     f"{node.parent.getRoleName() if node.parent else '-'} {node.parent.name if node.parent else ''!r})")

    status = find(app, pyatspi.ROLE_STATUS_BAR)
    if not status:
        fail("the status line is not exposed as a status bar")
    else:
        print("status line:", repr(status[0].name), flush=True)

    print("interactive elements by role:", dict(sorted(roles.items())), flush=True)
    print("unnamed:", sum(unnamed.values()), dict(unnamed), flush=True)
finally:
    process.terminate()
    try:
        process.wait(10)
    except subprocess.TimeoutExpired:
        process.kill()

print("accessibility:", "ok" if not failures else f"{len(failures)} failures", flush=True)
sys.exit(1 if failures else 0)
