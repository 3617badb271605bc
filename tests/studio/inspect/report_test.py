"""A report in a browser: clicks through it, in a wide and in a narrow window, and looks for errors and requests.

Usage: report_test.py BROWSER INSPECT_TESTS
"""
import os
import pathlib
import re
import subprocess
import sys
import tempfile

BROWSER, INSPECT_TESTS = sys.argv[1:3]
HERE = pathlib.Path(__file__).parent

# Errors count from the first line of the page on.
LISTEN = """<script>
window.failures = [];
addEventListener('error', (event) => failures.push(`error: ${event.message} ${event.lineno}`));
addEventListener('unhandledrejection', (event) => failures.push(`rejected: ${event.reason}`));
addEventListener('securitypolicyviolation', (event) => failures.push(`request: ${event.blockedURI}`));
</script></head>"""
# One window after the other: only one has the focus.
FRAMES = """<!DOCTYPE html><pre id="verdict1280">no verdict</pre><pre id="verdict390">no verdict</pre><script>
const widths = [1280, 390];
const frame = document.createElement('iframe');
function next() {
    frame.width = widths[0];
    frame.height = 900;
    frame.src = `page.html?${widths[0]}`;
}
addEventListener('message', (event) => {
    document.querySelector(`#verdict${widths.shift()}`).textContent = event.data;
    if (widths.length)
        next();
});
document.body.append(frame);
next();
</script>"""


def main():
    with tempfile.TemporaryDirectory() as folder:
        folder = pathlib.Path(folder)
        made = folder / "report.html"
        subprocess.run([INSPECT_TESTS, "--gtest_brief=1", "--gtest_filter=HtmlReport.HoldsWhatTheHostNamesAsDataOnly"],
                       env={**os.environ, "STUDIO_DATA_PAGE": str(made)}, check=True, timeout=120)
        page = made.read_text(encoding="utf-8")
        problems = [f"names something outside: {found}"
                    for found in re.findall(r"<\w[^<>]*\s(?:src|href|action)=(?![\"']?(?:#|data:))[^<>]*|url\([^)]*\)|@import|https?:", page)]
        test = (HERE / "report_test.js").read_text(encoding="utf-8")
        page = page.replace("</head>", LISTEN, 1).replace("</body>", f"<script>{test}</script></body>")
        (folder / "page.html").write_text(page, encoding="utf-8")
        (folder / "frames.html").write_text(FRAMES, encoding="utf-8")
        done = subprocess.run([BROWSER, "--headless=new", "--no-sandbox", "--disable-gpu", "--window-size=1700,1900",
                               f"--user-data-dir={folder / 'profile'}", "--virtual-time-budget=120000", "--dump-dom",
                               (folder / "frames.html").as_uri()], capture_output=True, text=True, timeout=280)
    for width in "1280", "390":
        verdict = re.search(f'id="verdict{width}">([^<]*)', done.stdout)
        if not verdict or verdict[1] != "passed":
            problems.append(f"{width} wide: {verdict[1] if verdict else done.stderr}")
    print("\n".join(problems) if problems else "clicked through without an error")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
