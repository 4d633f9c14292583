defmodule VkSony.CamerasTest do
  # Several simulated cameras under one supervisor, as a parent runs them.
  use ExUnit.Case, async: true

  alias VkSony.{Bridge, Camera, Cameras}
  alias VkSony.Bridge.Exit
  alias VkSony.Line.Status
  import VkSony.TestSim

  @ids for serial <- ["A1", "A2", "A3"], do: "USB|ILME-FX6|#{serial}"
  @scenario """
  camera USB ILME-FX6 A1
  camera USB ILME-FX6 A2
  camera USB ILME-FX6 A3
  property 0x729 UInt32 800 rw 400 800 1600
  """
  @wait 10_000

  defp ready(id), do: assert_receive({:vk_sony_camera, ^id, :ready}, @wait)

  test "one bridge per camera, found by id; a killed bridge is restarted", context do
    name = Module.concat(__MODULE__, context.test)
    env = env(scratch_dir(), @scenario)

    {:ok, _} =
      Cameras.start_link(
        name: name,
        executable: executable(),
        cameras: @ids,
        env: env,
        backoff_min: 50
      )

    Enum.each(@ids, &ready/1)
    assert Enum.sort(Cameras.camera_ids(name)) == @ids
    [first, killed, last] = @ids
    before = Map.new(@ids, &{&1, Cameras.bridge(name, &1)})
    assert before |> Map.values() |> Enum.uniq() |> length() == 3

    {_, 0} = System.cmd("kill", ["-KILL", to_string(Bridge.os_pid(before[killed]))])
    assert_receive {:vk_sony_camera, ^killed, {:exit, %Exit{status: 137, cause: :ended}}}, @wait
    ready(killed)

    restarted = Cameras.bridge(name, killed)
    assert restarted not in [nil, before[killed]]
    assert Cameras.set(name, killed, "ISO_SENSITIVITY", 1600) == :ok
    # The write's report follows its ACK.
    assert_receive {:vk_sony_camera, ^killed, {:status, %Status{value: "1600"}}}, @wait
    assert {:ok, %Status{value: "1600"}} = Cameras.get(name, killed, "ISO_SENSITIVITY")
    # The others kept their bridges and their values.
    assert Cameras.bridge(name, first) == before[first]
    assert Cameras.bridge(name, last) == before[last]
    assert {:ok, %Status{value: "800"}} = Cameras.get(name, last, "ISO_SENSITIVITY")
    assert Cameras.get(name, "USB|ILME-FX6|nope", "ISO_SENSITIVITY") == {:error, :closed}
  end

  test "a camera that fails at start is retried with a growing delay, up to the maximum",
       context do
    name = Module.concat(__MODULE__, context.test)
    missing = Path.join(scratch_dir(), "missing.scenario")

    {:ok, _} =
      Cameras.start_link(
        name: name,
        executable: executable(),
        cameras: ["USB|ILME-FX6|A1"],
        env: [{"VK_SONY_SIM_SCENARIO", missing}],
        backoff_min: 10,
        backoff_max: 40
      )

    for _ <- 1..4 do
      assert_receive {:vk_sony_camera, _, {:exit, %Exit{cause: :start_failed, stderr: stderr}}},
                     @wait

      assert stderr =~ "No such file or directory"
    end

    [{keeper, _}] = Registry.lookup(Cameras.registry(name), "USB|ILME-FX6|A1")
    # The keeper hears of the end just after the owner does.
    assert eventually(fn -> match?({restarts, _} when restarts >= 4, Camera.restarts(keeper)) end)
    assert {_, 40} = Camera.restarts(keeper)
  end
end
