<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de">
<context>
    <name>Alert</name>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
</context>
<context>
    <name>AppInfo</name>
    <message>
        <source>Mac</source>
        <translation>Computer</translation>
    </message>
    <message>
        <source>CPU</source>
        <translation>Prozessor</translation>
    </message>
    <message>
        <source>%1 cores</source>
        <translation>%1 Kerne</translation>
    </message>
    <message>
        <source>Memory</source>
        <translation>Arbeitsspeicher</translation>
    </message>
    <message>
        <source>Available Storage</source>
        <translation>Freier Speicherplatz</translation>
    </message>
    <message>
        <source>macOS</source>
        <translation>Betriebssystem</translation>
    </message>
    <message>
        <source>Apple Silicon</source>
        <translation>Apple Silicon</translation>
    </message>
    <message>
        <source>Yes</source>
        <translation>Ja</translation>
    </message>
    <message>
        <source>No</source>
        <translation>Nein</translation>
    </message>
    <message>
        <source>Virtualization</source>
        <translation>Virtualisierung</translation>
    </message>
    <message>
        <source>Available</source>
        <translation>Verfügbar</translation>
    </message>
    <message>
        <source>Unavailable</source>
        <translation>Nicht verfügbar</translation>
    </message>
    <message>
        <source>RAM</source>
        <translation>RAM</translation>
    </message>
    <message>
        <source>Disk</source>
        <translation>Festplatte</translation>
    </message>
    <message>
        <source>Status</source>
        <translation>Status</translation>
    </message>
    <message>
        <source>Ready</source>
        <translation>Bereit</translation>
    </message>
    <message>
        <source>QEMU</source>
        <translation>QEMU</translation>
    </message>
    <message>
        <source>swtpm</source>
        <translation>swtpm</translation>
    </message>
    <message>
        <source>UEFI Firmware</source>
        <translation>UEFI-Firmware</translation>
    </message>
    <message>
        <source>Not Installed</source>
        <translation>Nicht installiert</translation>
    </message>
    <message>
        <source>On</source>
        <translation>Ein</translation>
    </message>
    <message>
        <source>Off, because this is no ARM64 computer</source>
        <translation>Aus, denn dies ist kein ARM64-Rechner</translation>
    </message>
    <message>
        <source>Off, because this system has no /dev/kvm</source>
        <translation>Aus, denn dieses System hat kein /dev/kvm</translation>
    </message>
    <message>
        <source>Off, because you may not open /dev/kvm</source>
        <translation>Aus, denn Sie dürfen /dev/kvm nicht öffnen</translation>
    </message>
    <message>
        <source>Off, because KVM makes no machine: %1</source>
        <translation>Aus, denn KVM legt keine Maschine an: %1</translation>
    </message>
    <message>
        <source>Hardware acceleration</source>
        <translation>Hardwarebeschleunigung</translation>
    </message>
    <message>
        <source>Off, because this session is not in the group “%1”, which may open /dev/kvm</source>
        <translation>Aus, denn diese Sitzung gehört nicht zur Gruppe „%1“, die /dev/kvm öffnen darf</translation>
    </message>
</context>
<context>
    <name>AppSettingsView</name>
    <message>
        <source>Settings</source>
        <translation>Einstellungen</translation>
    </message>
    <message>
        <source>System Capabilities</source>
        <translation>Dieser Computer</translation>
    </message>
    <message>
        <source>Recommended Windows VM</source>
        <translation>Empfohlen für Windows</translation>
    </message>
    <message>
        <source>QEMU Backend (Windows)</source>
        <translation>QEMU (für Windows)</translation>
    </message>
    <message>
        <source>Copy Install Command</source>
        <translation>Installationsbefehl kopieren</translation>
    </message>
    <message>
        <source>Storage</source>
        <translation>Speicher</translation>
    </message>
    <message>
        <source>Default Location</source>
        <translation>Standardordner</translation>
    </message>
    <message>
        <source>Diagnostics</source>
        <translation>Diagnose</translation>
    </message>
    <message>
        <source>Copy Diagnostics</source>
        <translation>Diagnose kopieren</translation>
    </message>
</context>
<context>
    <name>AppState</name>
    <message>
        <source>“%1” keeps running. It will be here again when Kelvo is next opened.</source>
        <translation>„%1“ läuft weiter und ist wieder da, wenn Kelvo das nächste Mal geöffnet wird.</translation>
    </message>
    <message>
        <source>%1 and %2 more</source>
        <extracomment>The names of some virtual machines, and how many more there are.</extracomment>
        <translation>%1 und %2 weitere</translation>
    </message>
    <message>
        <source>These virtual machines keep running, and will be here again when Kelvo is next opened: %1.</source>
        <translation>Diese virtuellen Maschinen laufen weiter und sind wieder da, wenn Kelvo das nächste Mal geöffnet wird: %1.</translation>
    </message>
</context>
<context>
    <name>ByteCount</name>
    <message>
        <source>bytes</source>
        <translation>Byte</translation>
    </message>
    <message>
        <source>KB</source>
        <translation>KB</translation>
    </message>
    <message>
        <source>MB</source>
        <translation>MB</translation>
    </message>
    <message>
        <source>GB</source>
        <translation>GB</translation>
    </message>
    <message>
        <source>TB</source>
        <translation>TB</translation>
    </message>
    <message>
        <source>PB</source>
        <translation>PB</translation>
    </message>
    <message>
        <source>Zero KB</source>
        <translation>0 KB</translation>
    </message>
    <message>
        <source>1 byte</source>
        <translation>1 Byte</translation>
    </message>
</context>
<context>
    <name>ConsolePresenter</name>
    <message>
        <source>Virtual Machine is Off</source>
        <translation>Die virtuelle Maschine ist ausgeschaltet</translation>
    </message>
    <message>
        <source>Starting…</source>
        <translation>Wird gestartet …</translation>
    </message>
    <message>
        <source>Stopping…</source>
        <translation>Wird ausgeschaltet …</translation>
    </message>
    <message>
        <source>The virtual machine is shutting down.</source>
        <translation>Die virtuelle Maschine wird ausgeschaltet.</translation>
    </message>
    <message>
        <source>The virtual machine is booting.</source>
        <translation>Die virtuelle Maschine fährt hoch.</translation>
    </message>
    <message>
        <source>Install boots your Windows ISO with QEMU, a virtual TPM and UEFI firmware.</source>
        <translation>„Installieren“ startet das Windows-Abbild in QEMU, mit virtuellem TPM und UEFI-Firmware.</translation>
    </message>
    <message>
        <source>Start the virtual machine to view its display.</source>
        <translation>Nach dem Start erscheint hier der Bildschirm der virtuellen Maschine.</translation>
    </message>
</context>
<context>
    <name>ConsoleWindow</name>
    <message>
        <source>VM Console</source>
        <translation>Konsole</translation>
    </message>
    <message>
        <source>Virtual machine not found.</source>
        <translation>Die virtuelle Maschine wurde nicht gefunden.</translation>
    </message>
</context>
<context>
    <name>ContentView</name>
    <message>
        <source>New Virtual Machine</source>
        <translation>Neue virtuelle Maschine</translation>
    </message>
    <message>
        <source>VM Settings</source>
        <translation>Einstellungen der virtuellen Maschine</translation>
    </message>
</context>
<context>
    <name>CreateVMHardwareStep</name>
    <message>
        <source>CPU</source>
        <translation>Prozessor</translation>
    </message>
    <message>
        <source>Memory</source>
        <translation>Arbeitsspeicher</translation>
    </message>
    <message>
        <source>RAM</source>
        <translation>RAM</translation>
    </message>
    <message>
        <source>Disk</source>
        <translation>Festplatte</translation>
    </message>
    <message>
        <source>Disk Size</source>
        <translation>Festplattengröße</translation>
    </message>
    <message>
        <source>Network</source>
        <translation>Netzwerk</translation>
    </message>
    <message>
        <source>%1 virtual CPU cores</source>
        <translation>%1 virtuelle Prozessorkerne</translation>
    </message>
</context>
<context>
    <name>CreateVMMediaStep</name>
    <message>
        <source>Installation Media</source>
        <translation>Installationsmedium</translation>
    </message>
    <message>
        <source>Media Type</source>
        <translation>Art des Mediums</translation>
    </message>
    <message>
        <source>Select a legitimate Windows 11 ARM64 ISO. Kelvo does not download copyrighted images.</source>
        <translation>Ein rechtmäßig erworbenes ISO-Abbild von Windows 11 für ARM64 auswählen. Kelvo lädt keine urheberrechtlich geschützten Abbilder herunter.</translation>
    </message>
    <message>
        <source>Choose ISO…</source>
        <translation>ISO auswählen …</translation>
    </message>
    <message>
        <source>Virtio drivers (recommended for Windows on QEMU)</source>
        <translation>Virtio-Treiber (empfohlen für Windows in QEMU)</translation>
    </message>
    <message>
        <source>Download the ARM64 virtio-win ISO from Fedora, then attach it here so Windows can see the virtual disk and network during setup.</source>
        <translation>Das virtio-win-ISO für ARM64 von Fedora herunterladen und hier auswählen, damit Windows bei der Einrichtung Festplatte und Netzwerk der virtuellen Maschine erkennt.</translation>
    </message>
    <message>
        <source>Choose Virtio ISO…</source>
        <translation>Virtio-ISO auswählen …</translation>
    </message>
    <message>
        <source>Choose ISO</source>
        <translation>ISO auswählen</translation>
    </message>
    <message>
        <source>Select the ARM64 virtio-win driver ISO</source>
        <translation>Das virtio-win-ISO für ARM64 auswählen</translation>
    </message>
    <message>
        <source>Without this image Windows setup finds no disk to install on.</source>
        <translation>Ohne dieses Abbild findet das Windows-Setup kein Laufwerk für die Installation.</translation>
    </message>
    <message>
        <source>What Windows needs here…</source>
        <translation>Was Windows hier braucht …</translation>
    </message>
    <message>
        <source>The QEMU of this computer has no TPM that Windows setup is known to accept.</source>
        <translation>Das QEMU dieses Computers hat kein TPM, von dem bekannt ist, dass das Windows-Setup es annimmt.</translation>
    </message>
</context>
<context>
    <name>CreateVMModel</name>
    <message>
        <source>Choose an ISO file first.</source>
        <translation>Zuerst eine ISO-Datei auswählen.</translation>
    </message>
    <message>
        <source>Enter a name first.</source>
        <translation>Zuerst einen Namen eingeben.</translation>
    </message>
    <message>
        <source>No file selected</source>
        <translation>Keine Datei ausgewählt</translation>
    </message>
    <message>
        <source>No driver ISO selected</source>
        <translation>Kein Treiber-ISO ausgewählt</translation>
    </message>
    <message>
        <source>OS</source>
        <translation>System</translation>
    </message>
    <message>
        <source>CPU</source>
        <translation>Prozessor</translation>
    </message>
    <message>
        <source>%1 cores</source>
        <translation>%1 Kerne</translation>
    </message>
    <message>
        <source>RAM</source>
        <translation>RAM</translation>
    </message>
    <message>
        <source>Disk</source>
        <translation>Festplatte</translation>
    </message>
    <message>
        <source>Network</source>
        <translation>Netzwerk</translation>
    </message>
    <message>
        <source>Backend</source>
        <translation>Technik</translation>
    </message>
    <message>
        <source>Location</source>
        <translation>Ort</translation>
    </message>
    <message>
        <source>Installation ISO</source>
        <translation>Installations-ISO</translation>
    </message>
    <message>
        <source>Virtio Drivers</source>
        <translation>Virtio-Treiber</translation>
    </message>
    <message>
        <source>Windows 11 runs on QEMU with Apple Hypervisor (HVF) acceleration, a virtual TPM and UEFI firmware.</source>
        <translation>Windows 11 läuft in QEMU, beschleunigt durch den Hypervisor (HVF), mit virtuellem TPM und UEFI-Firmware.</translation>
    </message>
    <message>
        <source>Linux VMs use Apple Virtualization. Install QEMU only if you plan to run Windows.</source>
        <translation>Linux läuft mit Apple Virtualization. QEMU muss nur für Windows installiert werden.</translation>
    </message>
    <message>
        <source>This computer has %1 of memory: a machine with %2 may not start.</source>
        <translation>Dieser Rechner hat %1 Arbeitsspeicher: eine Maschine mit %2 startet vielleicht nicht.</translation>
    </message>
    <message>
        <source>More cores than this computer has (%1) make a machine slower.</source>
        <translation>Mehr Kerne, als dieser Rechner hat (%1), machen eine Maschine langsamer.</translation>
    </message>
</context>
<context>
    <name>CreateVMNameStep</name>
    <message>
        <source>Virtual Machine Name</source>
        <translation>Name der virtuellen Maschine</translation>
    </message>
    <message>
        <source>Storage Location</source>
        <translation>Speicherort</translation>
    </message>
    <message>
        <source>Choose Location…</source>
        <translation>Ort auswählen …</translation>
    </message>
    <message>
        <source>Choose Location</source>
        <translation>Ort auswählen</translation>
    </message>
</context>
<context>
    <name>CreateVMOSStep</name>
    <message>
        <source>Choose Operating System</source>
        <translation>Betriebssystem auswählen</translation>
    </message>
    <message>
        <source>Operating System</source>
        <translation>Betriebssystem</translation>
    </message>
</context>
<context>
    <name>CreateVMSummaryStep</name>
    <message>
        <source>Summary</source>
        <translation>Zusammenfassung</translation>
    </message>
    <message>
        <source>Start installation after creating the virtual machine</source>
        <translation>Installation nach dem Erstellen der virtuellen Maschine starten</translation>
    </message>
</context>
<context>
    <name>CreateVMView</name>
    <message>
        <source>New Virtual Machine</source>
        <translation>Neue virtuelle Maschine</translation>
    </message>
    <message>
        <source>Step %1 of %2</source>
        <translation>Schritt %1 von %2</translation>
    </message>
    <message>
        <source>Back</source>
        <translation>Zurück</translation>
    </message>
    <message>
        <source>Continue</source>
        <translation>Weiter</translation>
    </message>
    <message>
        <source>The virtual machine is being created.</source>
        <translation>Die virtuelle Maschine wird erstellt.</translation>
    </message>
    <message>
        <source>Create Virtual Machine</source>
        <translation>Virtuelle Maschine erstellen</translation>
    </message>
    <message>
        <source>Could Not Create VM</source>
        <translation>Die virtuelle Maschine konnte nicht erstellt werden</translation>
    </message>
</context>
<context>
    <name>DocumentOpener</name>
    <message>
        <source>“%1” does not exist.</source>
        <translation>„%1“ gibt es nicht.</translation>
    </message>
    <message>
        <source>“%1” is neither a virtual machine nor an installation image.</source>
        <translation>„%1“ ist weder eine virtuelle Maschine noch ein Installationsabbild.</translation>
    </message>
</context>
<context>
    <name>DownloadsPlaceholderView</name>
    <message>
        <source>Downloads</source>
        <translation>Downloads</translation>
    </message>
    <message>
        <source>Kelvo does not download copyrighted installation images. Select your own legitimate Windows ARM64 ISO when creating a virtual machine.</source>
        <translation>Kelvo lädt keine urheberrechtlich geschützten Installationsabbilder herunter. Beim Erstellen einer virtuellen Maschine ein eigenes, rechtmäßig erworbenes Windows-ISO für ARM64 auswählen.</translation>
    </message>
</context>
<context>
    <name>ErrorAlert</name>
    <message>
        <source>Show Diagnostics</source>
        <translation>Diagnose anzeigen</translation>
    </message>
</context>
<context>
    <name>FileChooser</name>
    <message>
        <source>Disk images</source>
        <translation>Datenträgerabbilder</translation>
    </message>
    <message>
        <source>All files</source>
        <translation>Alle Dateien</translation>
    </message>
</context>
<context>
    <name>FileChooserPortal</name>
    <message>
        <source>Disk images</source>
        <translation>Datenträgerabbilder</translation>
    </message>
    <message>
        <source>All files</source>
        <translation>Alle Dateien</translation>
    </message>
</context>
<context>
    <name>GuestInputHint</name>
    <message>
        <source>Keyboard and pointer are not available.</source>
        <translation>Tastatur und Zeiger sind nicht verfügbar.</translation>
    </message>
    <message>
        <source>Keys go to the guest. Press Ctrl+Alt to get out.</source>
        <translation>Die Tastatur gehört dem Gast. Strg+Alt gibt sie frei.</translation>
    </message>
    <message>
        <source>Press F11 or Escape to leave full screen. Click into the screen to type in the guest.</source>
        <translation>F11 oder Escape beendet das Vollbild. Ein Klick auf den Bildschirm gibt dem Gast die Tastatur.</translation>
    </message>
    <message>
        <source>Click into the screen to type in the guest.</source>
        <translation>Ein Klick auf den Bildschirm gibt dem Gast die Tastatur.</translation>
    </message>
</context>
<context>
    <name>GuestOperatingSystem</name>
    <message>
        <source>Windows 11 ARM64</source>
        <translation>Windows 11 ARM64</translation>
    </message>
    <message>
        <source>Linux ARM64</source>
        <translation>Linux ARM64</translation>
    </message>
    <message>
        <source>Other ARM64 OS</source>
        <translation>Anderes ARM64-System</translation>
    </message>
</context>
<context>
    <name>KelvoApp</name>
    <message>
        <source>The virtual machine has shut down.</source>
        <translation>Die virtuelle Maschine ist heruntergefahren.</translation>
    </message>
</context>
<context>
    <name>MainMenuBar</name>
    <message>
        <source>&amp;File</source>
        <translation>&amp;Datei</translation>
    </message>
    <message>
        <source>Ctrl+N</source>
        <translation>Strg+N</translation>
    </message>
    <message>
        <source>&amp;New Virtual Machine…</source>
        <translation>&amp;Neue virtuelle Maschine …</translation>
    </message>
    <message>
        <source>Ctrl+,</source>
        <translation>Strg+,</translation>
    </message>
    <message>
        <source>&amp;Settings…</source>
        <translation>&amp;Einstellungen …</translation>
    </message>
    <message>
        <source>Ctrl+Q</source>
        <translation>Strg+Q</translation>
    </message>
    <message>
        <source>&amp;Quit</source>
        <translation>&amp;Beenden</translation>
    </message>
    <message>
        <source>&amp;Virtual Machine</source>
        <translation>&amp;Virtuelle Maschine</translation>
    </message>
    <message>
        <source>&amp;Install</source>
        <translation>&amp;Installieren</translation>
    </message>
    <message>
        <source>&amp;Start</source>
        <translation>&amp;Starten</translation>
    </message>
    <message>
        <source>S&amp;top</source>
        <translation>&amp;Ausschalten</translation>
    </message>
    <message>
        <source>&amp;Pause</source>
        <translation>An&amp;halten</translation>
    </message>
    <message>
        <source>&amp;Resume</source>
        <translation>&amp;Fortsetzen</translation>
    </message>
    <message>
        <source>S&amp;ettings…</source>
        <translation>&amp;Einstellungen …</translation>
    </message>
    <message>
        <source>Shut &amp;Down</source>
        <translation>He&amp;runterfahren</translation>
    </message>
</context>
<context>
    <name>MenuBar</name>
    <message>
        <source>Menu bar</source>
        <translation>Menüleiste</translation>
    </message>
</context>
<context>
    <name>NoMachinesView</name>
    <message>
        <source>No Virtual Machines</source>
        <translation>Keine virtuellen Maschinen</translation>
    </message>
    <message>
        <source>Create a virtual machine to run Windows 11 ARM64 or other ARM64 operating systems.</source>
        <translation>In einer virtuellen Maschine laufen Windows 11 für ARM64 oder andere ARM64-Betriebssysteme.</translation>
    </message>
    <message>
        <source>New Virtual Machine</source>
        <translation>Neue virtuelle Maschine</translation>
    </message>
</context>
<context>
    <name>QuitAlert</name>
    <message>
        <source>Quit Kelvo?</source>
        <translation>Kelvo beenden?</translation>
    </message>
    <message>
        <source>Quit</source>
        <translation>Beenden</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
</context>
<context>
    <name>SerialConsoleView</name>
    <message>
        <source>Serial output</source>
        <translation>Serielle Ausgabe</translation>
    </message>
    <message>
        <source>The guest has said nothing on its serial line.</source>
        <translation>Der Gast hat auf seiner seriellen Leitung nichts gesagt.</translation>
    </message>
</context>
<context>
    <name>SettingsWindow</name>
    <message>
        <source>Settings</source>
        <translation>Einstellungen</translation>
    </message>
</context>
<context>
    <name>Sidebar</name>
    <message>
        <source>Sidebar</source>
        <translation>Seitenleiste</translation>
    </message>
</context>
<context>
    <name>SidebarSection</name>
    <message>
        <source>Virtual Machines</source>
        <translation>Virtuelle Maschinen</translation>
    </message>
    <message>
        <source>Running</source>
        <translation>Laufende</translation>
    </message>
    <message>
        <source>Downloads</source>
        <translation>Downloads</translation>
    </message>
    <message>
        <source>Settings</source>
        <translation>Einstellungen</translation>
    </message>
</context>
<context>
    <name>Stepper</name>
    <message>
        <source>Decrease %1</source>
        <translation>%1 verringern</translation>
    </message>
    <message>
        <source>Increase %1</source>
        <translation>%1 erhöhen</translation>
    </message>
</context>
<context>
    <name>StopAlert</name>
    <message>
        <source>Stopping is like pulling the plug: what the guest has not saved is lost.</source>
        <translation>Ausschalten ist, als zöge man den Stecker: Was der Gast nicht gespeichert hat, geht verloren.</translation>
    </message>
    <message>
        <source>“%1” Has Not Shut Down</source>
        <translation>„%1“ fährt nicht herunter</translation>
    </message>
    <message>
        <source>Stop “%1”?</source>
        <translation>„%1“ ausschalten?</translation>
    </message>
    <message>
        <source>Shut Down asks it to end by itself.</source>
        <translation>„Herunterfahren“ bittet ihn, sich selbst zu beenden.</translation>
    </message>
    <message>
        <source>Stop</source>
        <translation>Ausschalten</translation>
    </message>
    <message>
        <source>Keep Running</source>
        <translation>Weiterlaufen lassen</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Half a minute after it was asked to, it still runs. It may be busy, or wait for an answer on its screen.</source>
        <translation>Eine halbe Minute nach der Aufforderung läuft der Gast noch. Vielleicht ist er beschäftigt, oder er wartet auf seinem Bildschirm auf eine Antwort.</translation>
    </message>
</context>
<context>
    <name>VMCardButtons</name>
    <message>
        <source>Install</source>
        <translation>Installieren</translation>
    </message>
    <message>
        <source>Start</source>
        <translation>Starten</translation>
    </message>
    <message>
        <source>Stop</source>
        <translation>Ausschalten</translation>
    </message>
    <message>
        <source>Pause</source>
        <translation>Anhalten</translation>
    </message>
    <message>
        <source>Console</source>
        <translation>Konsole</translation>
    </message>
    <message>
        <source>Settings</source>
        <translation>Einstellungen</translation>
    </message>
    <message>
        <source>Finish Install</source>
        <translation>Installation abschließen</translation>
    </message>
    <message>
        <source>Shut Down</source>
        <translation>Herunterfahren</translation>
    </message>
</context>
<context>
    <name>VMChoices</name>
    <message>
        <source>ISO file</source>
        <translation>ISO-Datei</translation>
    </message>
    <message>
        <source>Existing VM disk</source>
        <translation>Vorhandene Festplatte</translation>
    </message>
    <message>
        <source>Installation image</source>
        <translation>Installationsabbild</translation>
    </message>
    <message>
        <source>1 TB</source>
        <translation>1 TB</translation>
    </message>
    <message>
        <source>%1 GB</source>
        <translation>%1 GB</translation>
    </message>
</context>
<context>
    <name>VMConsoleView</name>
    <message>
        <source>Virtual machine controls</source>
        <translation>Bedienelemente der virtuellen Maschine</translation>
    </message>
    <message>
        <source>Install</source>
        <translation>Installieren</translation>
    </message>
    <message>
        <source>Start</source>
        <translation>Starten</translation>
    </message>
    <message>
        <source>Pause</source>
        <translation>Anhalten</translation>
    </message>
    <message>
        <source>Resume</source>
        <translation>Fortsetzen</translation>
    </message>
    <message>
        <source>Stop</source>
        <translation>Ausschalten</translation>
    </message>
    <message>
        <source>Full Screen</source>
        <translation>Vollbild</translation>
    </message>
    <message>
        <source>Leave full screen (F11)</source>
        <translation>Vollbild beenden (F11)</translation>
    </message>
    <message>
        <source>Full Screen (F11)</source>
        <translation>Vollbild (F11)</translation>
    </message>
    <message>
        <source>Install Windows</source>
        <translation>Windows installieren</translation>
    </message>
    <message>
        <source>Finish Install</source>
        <translation>Installation abschließen</translation>
    </message>
    <message>
        <source>Show Diagnostics</source>
        <translation>Diagnose anzeigen</translation>
    </message>
    <message>
        <source>Shut Down</source>
        <translation>Herunterfahren</translation>
    </message>
    <message>
        <source>Serial Output</source>
        <translation>Serielle Ausgabe</translation>
    </message>
    <message>
        <source>Show the guest&apos;s screen</source>
        <translation>Bildschirm des Gastes zeigen</translation>
    </message>
    <message>
        <source>Show what the guest says on its serial line</source>
        <translation>Zeigen, was der Gast auf seiner seriellen Leitung sagt</translation>
    </message>
</context>
<context>
    <name>VMInstallationState</name>
    <message>
        <source>Not Started</source>
        <translation>Nicht begonnen</translation>
    </message>
    <message>
        <source>Ready to Install</source>
        <translation>Bereit zur Installation</translation>
    </message>
    <message>
        <source>Installing</source>
        <translation>Wird installiert</translation>
    </message>
    <message>
        <source>Installed</source>
        <translation>Installiert</translation>
    </message>
</context>
<context>
    <name>VMNetworkMode</name>
    <message>
        <source>Shared (NAT)</source>
        <translation>Geteilt (NAT)</translation>
    </message>
    <message>
        <source>Disconnected</source>
        <translation>Getrennt</translation>
    </message>
</context>
<context>
    <name>VMPresenter</name>
    <message>
        <source>Wait until the virtual machine is done.</source>
        <translation>Bitte warten, bis die virtuelle Maschine fertig ist.</translation>
    </message>
    <message>
        <source>Install the operating system first.</source>
        <translation>Zuerst das Betriebssystem installieren.</translation>
    </message>
    <message>
        <source>The virtual machine is already running.</source>
        <translation>Die virtuelle Maschine läuft schon.</translation>
    </message>
    <message>
        <source>%1 cores</source>
        <translation>%1 Kerne</translation>
    </message>
    <message>
        <source>%1 GB RAM</source>
        <translation>%1 GB RAM</translation>
    </message>
    <message>
        <source>%1 GB disk</source>
        <translation>%1 GB Festplatte</translation>
    </message>
    <message>
        <source>Host usage: %1</source>
        <translation>Belegt: %1</translation>
    </message>
    <message>
        <source>The virtual machine is not running.</source>
        <translation>Die virtuelle Maschine läuft nicht.</translation>
    </message>
    <message>
        <source>The virtual machine is not paused.</source>
        <translation>Die virtuelle Maschine ist nicht angehalten.</translation>
    </message>
    <message>
        <source>The virtual machine has been asked to shut down.</source>
        <translation>Die virtuelle Maschine soll bereits herunterfahren.</translation>
    </message>
    <message>
        <source>Shutting Down</source>
        <translation>Fährt herunter</translation>
    </message>
</context>
<context>
    <name>VMSettingsModel</name>
    <message>
        <source>%1 GB</source>
        <translation>%1 GB</translation>
    </message>
    <message>
        <source>Maximum Size</source>
        <translation>Größe</translation>
    </message>
    <message>
        <source>Host Usage</source>
        <translation>Belegt</translation>
    </message>
    <message>
        <source>Path</source>
        <translation>Pfad</translation>
    </message>
    <message>
        <source>Virtio Drivers ISO</source>
        <translation>Virtio-Treiber-ISO</translation>
    </message>
    <message>
        <source>Saved.</source>
        <translation>Gespeichert.</translation>
    </message>
</context>
<context>
    <name>VMSettingsView</name>
    <message>
        <source>VM Settings</source>
        <translation>Einstellungen der virtuellen Maschine</translation>
    </message>
    <message>
        <source>General</source>
        <translation>Allgemein</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>Name</translation>
    </message>
    <message>
        <source>Operating System</source>
        <translation>Betriebssystem</translation>
    </message>
    <message>
        <source>CPU</source>
        <translation>Prozessor</translation>
    </message>
    <message>
        <source>%1 cores</source>
        <translation>%1 Kerne</translation>
    </message>
    <message>
        <source>Memory</source>
        <translation>Arbeitsspeicher</translation>
    </message>
    <message>
        <source>RAM</source>
        <translation>RAM</translation>
    </message>
    <message>
        <source>Storage</source>
        <translation>Speicher</translation>
    </message>
    <message>
        <source>Refresh Disk Usage</source>
        <translation>Belegung neu ermitteln</translation>
    </message>
    <message>
        <source>Network</source>
        <translation>Netzwerk</translation>
    </message>
    <message>
        <source>Mode</source>
        <translation>Art</translation>
    </message>
    <message>
        <source>Display</source>
        <translation>Bildschirm</translation>
    </message>
    <message>
        <source>Width: %1</source>
        <translation>Breite: %1</translation>
    </message>
    <message>
        <source>Width</source>
        <translation>Breite</translation>
    </message>
    <message>
        <source>Height: %1</source>
        <translation>Höhe: %1</translation>
    </message>
    <message>
        <source>Height</source>
        <translation>Höhe</translation>
    </message>
    <message>
        <source>Scaling</source>
        <translation>Skalierung</translation>
    </message>
    <message>
        <source>Advanced</source>
        <translation>Erweitert</translation>
    </message>
    <message>
        <source>Boot</source>
        <translation>Start</translation>
    </message>
    <message>
        <source>EFI</source>
        <translation>EFI</translation>
    </message>
    <message>
        <source>Logs</source>
        <translation>Protokoll</translation>
    </message>
    <message>
        <source>Stop the virtual machine to change hardware settings.</source>
        <translation>Zum Ändern der Hardware muss die virtuelle Maschine ausgeschaltet sein.</translation>
    </message>
    <message>
        <source>Save Changes</source>
        <translation>Änderungen speichern</translation>
    </message>
    <message>
        <source>Guest has the virtio display driver</source>
        <translation>Gast hat den virtio-Anzeigetreiber</translation>
    </message>
    <message>
        <source>The guest chooses the size of its screen. Without the driver it shows no picture.</source>
        <translation>Der Gast wählt die Größe seines Bildschirms. Ohne den Treiber zeigt er kein Bild.</translation>
    </message>
    <message>
        <source>The screen has 1024 × 768 pixels, for which a guest needs no driver.</source>
        <translation>Der Bildschirm hat 1024 × 768 Pixel, für die ein Gast keinen Treiber braucht.</translation>
    </message>
</context>
<context>
    <name>VMState</name>
    <message>
        <source>Powered Off</source>
        <translation>Ausgeschaltet</translation>
    </message>
    <message>
        <source>Starting</source>
        <translation>Startet</translation>
    </message>
    <message>
        <source>Running</source>
        <translation>Läuft</translation>
    </message>
    <message>
        <source>Paused</source>
        <translation>Angehalten</translation>
    </message>
    <message>
        <source>Stopping</source>
        <translation>Wird ausgeschaltet</translation>
    </message>
    <message>
        <source>Suspended</source>
        <translation>Im Ruhezustand</translation>
    </message>
    <message>
        <source>Error</source>
        <translation>Fehler</translation>
    </message>
</context>
<context>
    <name>VNCConsoleView</name>
    <message>
        <source>VM display</source>
        <translation>Bildschirm der virtuellen Maschine</translation>
    </message>
    <message>
        <source>Guest screen</source>
        <translation>Bildschirm des Gastes</translation>
    </message>
    <message>
        <source>Connecting to VM display…</source>
        <translation>Verbindung zum Bildschirm wird hergestellt …</translation>
    </message>
</context>
<context>
    <name>VirtualMachineViewRepresentable</name>
    <message>
        <source>VM display</source>
        <translation>Bildschirm der virtuellen Maschine</translation>
    </message>
    <message>
        <source>Guest screen</source>
        <translation>Bildschirm des Gastes</translation>
    </message>
</context>
<context>
    <name>WindowsNotesView</name>
    <message>
        <source>Windows on This Computer</source>
        <translation>Windows auf diesem Computer</translation>
    </message>
    <message>
        <source>Done</source>
        <translation>Fertig</translation>
    </message>
</context>
<context>
    <name>main</name>
    <message>
        <source>A virtual machine is running.</source>
        <translation>Eine virtuelle Maschine läuft.</translation>
    </message>
</context>
</TS>
