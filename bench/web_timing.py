#!/usr/bin/python3
"""Times of the workbench page in headless chromium: from navigation to the
catalogue shown, for the sample and for a database of 10,000 models, and from
a click in the picture calculator to the new picture ID (median of 50).

usage: web_timing.py ORVDB ORVDB.dat MODELS.json WORKDIR"""
import json, statistics, subprocess, sys, tempfile
from pathlib import Path
from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.support.ui import WebDriverWait

orvdb, sample_db, models_json, work = sys.argv[1:5]
work = Path(work)
work.mkdir(parents=True, exist_ok=True)
models = json.loads(Path(models_json).read_text())["models"]
big = [dict(models[i % len(models)], ModelName=f"{models[i % len(models)]['ModelName']} #{i:05d}") for i in range(10000)]
(work / "big.json").write_text(json.dumps({"models": big}))
subprocess.run([orvdb, "build", str(work / "big.json"), "-o", str(work / "big.dat")], check=True)
for db, page in ((sample_db, "sample.html"), (str(work / "big.dat"), "big.html")):
    subprocess.run([orvdb, "html", db, "-o", str(work / page)], check=True)
    print(f"{page}: {(work / page).stat().st_size // 1024} KB")

opts = webdriver.ChromeOptions()
for flag in ("--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
             "--disable-background-networking", "--disable-component-update", "--disable-sync",
             "--window-size=1280,800", f"--user-data-dir={tempfile.mkdtemp(prefix='orvx-chrome-')}"):
    opts.add_argument(flag)
driver = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=opts)
try:
    for page, count in (("sample.html", len(models)), ("big.html", 10000)):
        times = []
        for _ in range(3):
            driver.get((work / page).resolve().as_uri())
            WebDriverWait(driver, 60).until(lambda d: d.execute_script("return globalThis.orvxShownAt"))
            times.append(driver.execute_script("return globalThis.orvxShownAt"))
        marks = driver.execute_script("return performance.getEntriesByType('mark').map(m => m.name + ' ' + Math.round(m.startTime))")
        print("  marks:", ", ".join(marks), "; DOMContentLoaded",
              round(driver.execute_script("return performance.getEntriesByType('navigation')[0].domContentLoadedEventEnd")))
        print(f"catalogue of {count} models shown after {statistics.median(times):.0f} ms (median of 3); "
              + driver.find_element("id", "status").text)
    driver.get((work / "sample.html").resolve().as_uri())
    WebDriverWait(driver, 60).until(lambda d: d.execute_script("return globalThis.orvxShownAt"))
    clicks = driver.execute_script("""
      document.querySelector('#catalogue-table tbody tr[data-index="2"]').click();
      const out = [];
      for (let i = 0; i < 50; i++) {
        const chip = document.querySelector('fieldset[data-list="inTrays"] .chip');
        const t0 = performance.now();
        chip.click();
        out.push(performance.now() - t0);
        document.querySelector('button[data-remove="inTrays"]').click();
      }
      return out;""")
    print(f"click to new picture ID: {statistics.median(clicks):.1f} ms (median of 50), max {max(clicks):.1f} ms")
finally:
    driver.quit()
